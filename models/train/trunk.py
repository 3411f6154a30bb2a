"""The network that cuts people out: down by strides, up again with a bridge at each size."""
import torch
from torch import nn
from torch.nn import functional

from layers import Context, Conv, InvertedResidual, Polish, Residual, emit_twice, twice

PLACE = 4  # pixels along the side of the square for which the exported network makes all of the mask at once

KINDS = {"plain": Residual, "inverted": InvertedResidual}
LAST = {
    "nothing": lambda channels: nn.Identity(),
    "polish": Polish,
    "convolution": lambda channels: Conv(channels, channels),
}


class Trunk(nn.Module):
    """step: the first convolution makes one place of step x step pixels, 2 or 4, and the last one as many values for
    it. down: channels at that size, half of it, a quarter... depth: residual blocks at each of these.
    up: channels on the way up, for the same sizes but the smallest. last: what stands before the convolution that makes
    the mask, see LAST. outline: channels of an Outline, for a step of 4 alone, or 0 for none."""

    def __init__(self, down, depth, up, step=2, kind="plain", last="nothing", outline=0):
        super().__init__()
        if outline and step != PLACE:
            raise ValueError(f"an outline needs a step of {PLACE}, not {step}")
        self.step = step
        stem = Conv(4, down[0], stride=step, kernel=3 if step == 2 else 7)
        self.shrink = nn.ModuleList([stem] + [Conv(a, b, stride=2) for a, b in zip(down[:-1], down[1:])])
        self.blocks = nn.ModuleList(nn.Sequential(*[KINDS[kind](c) for _ in range(n)]) for c, n in zip(down, depth))
        self.context = Context(down[-1])
        above = down[-1:] + up[:0:-1]
        self.lift = nn.ModuleList(Conv(a, b, kernel=1, relu=False) for a, b in zip(above, up[::-1]))
        self.bridge = nn.ModuleList(Conv(a, b, kernel=1) for a, b in zip(down[-2::-1], up[::-1]))
        smooth = [Conv(c, c) for c in up[::-1]]
        smooth[-1] = LAST[last](up[0])
        self.smooth = nn.ModuleList(smooth)
        self.mask = nn.Conv2d(up[0], step * step, 3, padding=1)
        self.outline = Outline(up[0], outline) if outline else None

    def forward(self, x):
        """x: batch of 4 planes, 0 to 1. Returns the logits, full size, and the features on the way up, the smallest
        first."""
        picture, skips = x, []
        for shrink, blocks in zip(self.shrink, self.blocks):
            x = blocks(shrink(x))
            skips.append(x)
        x = self.context(skips.pop())
        features = [x]
        for lift, bridge, smooth in zip(self.lift, self.bridge, self.smooth):
            skip = skips.pop()
            x = smooth(bridge(skip, add=twice(lift(x), *skip.shape[2:])))
            features.append(x)
        logits = functional.pixel_shuffle(self.mask(x), self.step)
        return logits if self.outline is None else logits + self.outline(picture, x), features

    def emit(self, graph, x, size):
        """Writes the nodes for a picture of `size`, (height, width), of bytes in float form. Returns what forward
        does. Sides must be multiples of PLACE."""
        if size[0] % PLACE or size[1] % PLACE:
            raise ValueError(f"pictures of {size[1]} x {size[0]} don't divide into squares of {PLACE} x {PLACE}")
        picture, full, skips = x, size, []
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
            if not isinstance(smooth, nn.Identity):
                x = smooth.emit(graph, x)
            features.append(x)
        values = emit_places(graph, self.mask, x) if self.step < PLACE else graph.convolution(self.mask, x)
        if self.outline is not None:
            values = graph.node("Add", [values, self.outline.emit(graph, picture, x, full, size)])
        return graph.node("DepthToSpace", [values], blocksize=PLACE, mode="CRD"), features


class Outline(nn.Module):
    """What is finer than the places of 4 x 4 pixels of a trunk: looks at the picture again at half its size, with the
    trunk's features beside it, and tells what to add to the logits of the mask. At first that is nothing.

    features: channels of those features; channels: its own."""

    def __init__(self, features, channels):
        super().__init__()
        self.look = Conv(4, channels, stride=2, norm=False)
        self.lift = Conv(features, channels, kernel=1, relu=False, norm=False)
        self.join = Conv(channels, channels, norm=False)
        self.polish = Polish(channels)
        self.mask = nn.Conv2d(channels, 4, 3, padding=1)
        nn.init.zeros_(self.mask.weight)
        nn.init.zeros_(self.mask.bias)

    def forward(self, picture, features):
        x = self.look(picture)
        x = self.join(x, add=twice(self.lift(features), *x.shape[2:]))
        return functional.pixel_shuffle(self.mask(self.polish(x)), 2)

    def emit(self, graph, picture, features, size, quarter):
        """Writes the nodes, and returns 16 values for each place. size: of the picture; quarter: of the features; both
        (height, width)."""
        half = ((size[0] + 1) // 2, (size[1] + 1) // 2)
        x = self.look.emit(graph, picture, scale=1 / 255)
        x = self.join.emit(graph, x, add=emit_twice(graph, self.lift.emit(graph, features), quarter, half))
        return emit_places(graph, self.mask, self.polish.emit(graph, x))


def emit_places(graph, mask, x):
    """Writes a convolution of 3 x 3 that makes 2 x 2 pixels of each feature as one of 4 x 4 at a stride of 2 that makes
    4 x 4 pixels of each four features: the same sums, but 16 values at once, where the inference library would compute
    16 for 4 that are wanted."""
    weight = torch.zeros(PLACE * PLACE, mask.in_channels, 4, 4)
    bias = torch.zeros(PLACE * PLACE)
    for row in range(PLACE):
        for column in range(PLACE):
            (down, inner), (right, within) = divmod(row, 2), divmod(column, 2)
            value = row * PLACE + column
            weight[value, :, down:down + 3, right:right + 3] = mask.weight.detach()[inner * 2 + within]
            bias[value] = mask.bias.detach()[inner * 2 + within]
    return graph.node("Conv", [x, graph.weights(weight.numpy()), graph.constant(bias.numpy())],
                      kernel_shape=[4, 4], strides=[2, 2], pads=[1, 1, 1, 1])


def emit_mask(graph, logits, size):
    """Writes the layer "segmentation": the mask's bytes in float form, with the half that makes truncation rounding."""
    part = graph.node("Mul", [graph.node("Sigmoid", [logits]), graph.constant(255.0)])
    graph.node("Add", [part, graph.constant(0.5)], output="segmentation")
    graph.output("segmentation", [1, 1, *size])
