"""The six networks: which trunk, which heads, which layers."""
from torch import nn

from graph import Graph
from heads import ROWS, Heads, emit_motion, emit_table
from trunk import Trunk, emit_mask

# (height, width) of the pictures, by the part of the file name.
SIZES = {"144p": (144, 256), "360p": (360, 640)}
PLANS = {
    ("full", "144p"): dict(step=2, down=[16, 32, 48, 64], depth=[0, 0, 1, 2], up=[16, 16, 32], last=False),
    ("full", "360p"): dict(step=4, down=[32, 32, 48, 64], depth=[0, 0, 1, 2], up=[32, 16, 32], last=False),
    ("small", "144p"): dict(step=2, down=[8, 16, 32, 48], depth=[0, 0, 1, 1], up=[8, 16, 32], last=False),
    ("small", "360p"): dict(step=4, down=[16, 16, 32, 48], depth=[0, 0, 1, 1], up=[16, 16, 32], last=False),
}
# The family's part of the file name, and which weights it has. Families 0 and 1 share theirs.
FAMILIES = {"calyr": "full", "calyr_re": "full", "inhouse": "small"}


class Network(nn.Module):
    """A trunk and, when it is a full one, its heads."""

    def __init__(self, kind, quality):
        super().__init__()
        self.kind, self.quality, self.size = kind, quality, SIZES[quality]
        plan = PLANS[kind, quality]
        self.trunk = Trunk(**plan)
        if kind == "full":
            self.heads = Heads(plan["down"][-1], plan["up"][-2], self.size, plan["step"] * 8)

    def forward(self, x):
        """x: batch of 4 planes, 0 to 1. Returns mask logits, and what Heads returns, or Nones."""
        logits, features = self.trunk(x)
        return (logits, *self.heads(features)) if self.kind == "full" else (logits, None, None)

    def to_bytes(self, family):
        """Returns the model file of one of the families that have this kind of weights."""
        assert FAMILIES[family] == self.kind
        graph = Graph(f"{family}_{self.quality}", [1, 4, *self.size])
        logits, features = self.trunk.emit(graph, "input", self.size)
        emit_mask(graph, logits, self.size)
        if self.kind == "full":
            self.heads.emit(graph, features, self.size[0] // (self.trunk.step * 2) // ROWS)
            emit_motion(graph)
        if family == "calyr_re":
            emit_table(graph)
        return graph.to_bytes()
