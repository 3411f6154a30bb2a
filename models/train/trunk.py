"""The network that cuts people out: down by strides, up again with a bridge at each size."""
from torch import nn
from torch.nn import functional

from layers import Context, Conv, InvertedResidual, Residual, emit_twice, twice

KINDS = {"plain": Residual, "inverted": InvertedResidual}


class Trunk(nn.Module):
    """step: the first convolution makes one place of step x step pixels, 2 or 4, and the last one as many values for it.
    down: channels at that size, half of it, a quarter... depth: residual blocks at each of these.
    up: channels on the way up, for the same sizes but the smallest. last: whether a convolution stands before the
    one that makes the mask."""

    def __init__(self, down, depth, up, step=2, kind="plain", last=True):
        super().__init__()
        self.step = step
        stem = Conv(4, down[0], stride=step, kernel=3 if step == 2 else 7)
        self.shrink = nn.ModuleList([stem] + [Conv(a, b, stride=2) for a, b in zip(down[:-1], down[1:])])
        self.blocks = nn.ModuleList(nn.Sequential(*[KINDS[kind](c) for _ in range(n)]) for c, n in zip(down, depth))
        self.context = Context(down[-1])
        above = down[-1:] + up[:0:-1]
        self.lift = nn.ModuleList(Conv(a, b, kernel=1, relu=False) for a, b in zip(above, up[::-1]))
        self.bridge = nn.ModuleList(Conv(a, b, kernel=1) for a, b in zip(down[-2::-1], up[::-1]))
        smooth = [Conv(c, c) for c in up[::-1]]
        if not last:
            smooth[-1] = nn.Identity()
        self.smooth = nn.ModuleList(smooth)
        self.mask = nn.Conv2d(up[0], step * step, 3, padding=1)

    def forward(self, x):
        """x: batch of 4 planes, 0 to 1. Returns the logits, full size, and the features on the way up, small to large."""
        skips = []
        for shrink, blocks in zip(self.shrink, self.blocks):
            x = blocks(shrink(x))
            skips.append(x)
        x = self.context(skips.pop())
        features = [x]
        for lift, bridge, smooth in zip(self.lift, self.bridge, self.smooth):
            skip = skips.pop()
            x = smooth(bridge(skip, add=twice(lift(x), *skip.shape[2:])))
            features.append(x)
        return functional.pixel_shuffle(self.mask(x), self.step), features

    def emit(self, graph, x, size):
        """Writes the nodes for a picture of `size`, (height, width), of bytes in float form. Returns what forward does."""
        skips = []
        scale = 1 / 255
        for shrink, blocks in zip(self.shrink, self.blocks):
            stride = shrink.conv.stride[0]
            size = ((size[0] + stride - 1) // stride, (size[1] + stride - 1) // stride)
            x = shrink.emit(graph, x, scale=scale)
            scale = 1.0
            for block in blocks:
                x = block.emit(graph, x)
            skips.append((x, size))
        x, size = skips.pop()
        x = self.context.emit(graph, x)
        features = [x]
        for lift, bridge, smooth in zip(self.lift, self.bridge, self.smooth):
            skip, target = skips.pop()
            x = bridge.emit(graph, skip, add=emit_twice(graph, lift.emit(graph, x), size, target))
            size = target
            if isinstance(smooth, Conv):
                x = smooth.emit(graph, x)
            features.append(x)
        return graph.node("DepthToSpace", [graph.convolution(self.mask, x)], blocksize=self.step, mode="CRD"), features


def emit_mask(graph, logits, size):
    """Writes the layer "segmentation": the mask's bytes in float form, with the half that makes truncation rounding."""
    part = graph.node("Mul", [graph.node("Sigmoid", [logits]), graph.constant(255.0)])
    graph.node("Add", [part, graph.constant(0.5)], output="segmentation")
    graph.output("segmentation", [1, 1, *size])
