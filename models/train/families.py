"""The six networks: which trunk, which layers."""
from torch import nn

from graph import Graph
from heads import ROWS, Heads, emit_motion, emit_table
from trunk import Trunk, emit_mask

# (height, width) of the pictures, by the part of the file name.
SIZES = {"144p": (144, 256), "360p": (360, 640)}
# Training begins with the base, which has nothing that makes outlines finer.
BASE = dict(down=[16, 32, 48, 64], depth=[0, 0, 1, 3], up=[16, 16, 32])
PLANS = {
    "base": BASE,
    "144p": BASE | dict(last="polish"),
    "360p": BASE | dict(step=4, down=[32, 32, 48, 64], up=[32, 16, 32], outline=16),
}
# The family's part of the file name, and what it has besides the mask. All share their weights.
FAMILIES = {"calyr": ("heads",), "calyr_re": ("heads", "table"), "inhouse": ()}


class Network(nn.Module):
    """A trunk with its heads, for pictures of one size."""

    def __init__(self, quality, plan=None):
        """plan: a name of PLANS; the quality's own unless told otherwise."""
        super().__init__()
        self.quality, self.size = quality, SIZES[quality]
        plan = PLANS[plan or quality]
        self.trunk = Trunk(**plan)
        self.heads = Heads(plan["down"][-1], plan["up"][-2], self.size, self.trunk.step * 8)

    def forward(self, x):
        """x: batch of 4 planes, 0 to 1. Returns mask logits, and what Heads returns."""
        logits, features = self.trunk(x)
        return (logits, *self.heads(features))

    def to_bytes(self, family):
        """Returns a family's model file."""
        graph = Graph(f"{family}_{self.quality}", [1, 4, *self.size])
        logits, features = self.trunk.emit(graph, "input", self.size)
        emit_mask(graph, logits, self.size)
        if "heads" in FAMILIES[family]:
            self.heads.emit(graph, features, self.size[0] // (self.trunk.step * 2) // ROWS)
            emit_motion(graph)
        if "table" in FAMILIES[family]:
            emit_table(graph)
        return graph.to_bytes()
