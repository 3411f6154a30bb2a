"""Building blocks that PyTorch trains and that write themselves as ONNX nodes, batch norm folded into convolutions."""
import torch
from torch import nn
from torch.nn import functional


def convolve(layer, x):
    """Runs a convolution. PyTorch 1.13 takes ten times as long for 1x1 on a processor as for 1x3 with two zeros."""
    if layer.kernel_size != (1, 1):
        return layer(x)
    return functional.conv2d(x, functional.pad(layer.weight, (1, 1)), layer.bias, layer.stride, (0, 1),
                             groups=layer.groups)


class Conv(nn.Module):
    """Convolution and, unless told otherwise, batch norm and a ReLU. Keeps sizes but for the stride."""

    def __init__(self, inside, outside, kernel=3, stride=1, groups=1, relu=True, norm=True):
        super().__init__()
        self.conv = nn.Conv2d(inside, outside, kernel, stride, kernel // 2, groups=groups, bias=not norm)
        self.norm = nn.BatchNorm2d(outside, momentum=0.05) if norm else None
        self.relu = relu
        nn.init.kaiming_normal_(self.conv.weight, nonlinearity="relu")

    def forward(self, x, add=None):
        x = convolve(self.conv, x)
        if self.norm is not None:
            x = self.norm(x)
        if add is not None:
            x = x + add
        return functional.relu(x, inplace=True) if self.relu else x

    def emit(self, graph, x, add=None, scale=1.0):
        """Writes the nodes; `scale` is folded into the weights and stands for a factor on the input."""
        if self.norm is None:
            weight, bias = self.conv.weight, self.conv.bias
        else:
            gain = self.norm.weight / torch.sqrt(self.norm.running_var + self.norm.eps)
            weight, bias = self.conv.weight * gain[:, None, None, None], self.norm.bias - self.norm.running_mean * gain
        x = graph.convolution(self.conv, x, weight * scale, bias)
        if add is not None:
            x = graph.node("Add", [x, add])
        return graph.node("Relu", [x]) if self.relu else x


class Residual(nn.Module):
    """Two convolutions around which the input goes."""

    def __init__(self, channels):
        super().__init__()
        self.first = Conv(channels, channels)
        self.second = Conv(channels, channels)
        nn.init.constant_(self.second.norm.weight, 0.2)

    def forward(self, x):
        return self.second(self.first(x), add=x)

    def emit(self, graph, x):
        return self.second.emit(graph, self.first.emit(graph, x), add=x)


class Polish(nn.Module):
    """Looks around in each channel for itself, mixes the channels, adds that to the input, which must not be negative,
    as behind a ReLU: then it changes nothing at first. No batch norm: where maps are large, that takes as long in
    training as a convolution."""

    def __init__(self, channels):
        super().__init__()
        self.look = Conv(channels, channels, groups=channels, norm=False)
        self.mix = Conv(channels, channels, kernel=1, norm=False)
        nn.init.zeros_(self.mix.conv.weight)
        nn.init.zeros_(self.mix.conv.bias)

    def forward(self, x):
        return self.mix(self.look(x), add=x)

    def emit(self, graph, x):
        return self.mix.emit(graph, self.look.emit(graph, x), add=x)


class InvertedResidual(nn.Module):
    """Widens by a 1x1 convolution, looks around in each channel for itself, narrows again; the input goes around."""

    def __init__(self, channels, factor=3):
        super().__init__()
        self.widen = Conv(channels, channels * factor, kernel=1)
        self.look = Conv(channels * factor, channels * factor, kernel=3, groups=channels * factor)
        self.narrow = Conv(channels * factor, channels, kernel=1, relu=False)

    def forward(self, x):
        return x + self.narrow(self.look(self.widen(x)))

    def emit(self, graph, x):
        return graph.node("Add", [x, self.narrow.emit(graph, self.look.emit(graph, self.widen.emit(graph, x)))])


class Context(nn.Module):
    """Adds what the whole picture looks like, on average, to each place."""

    def __init__(self, channels):
        super().__init__()
        self.linear = nn.Conv2d(channels, channels, 1)

    def forward(self, x):
        return functional.relu(x + self.linear(x.mean((2, 3), keepdim=True)))

    def emit(self, graph, x):
        mean = graph.convolution(self.linear, graph.node("GlobalAveragePool", [x]))
        return graph.node("Relu", [graph.node("Add", [x, mean])])


def twice(x, height, width):
    """Each pixel as four, cut to the size of the level above, which may be odd."""
    return functional.interpolate(x, scale_factor=2, mode="nearest")[:, :, :height, :width]


def emit_twice(graph, x, size, target):
    """Writes twice(). `size` is that of x, both are (height, width)."""
    x = graph.node("Resize", [x, "", graph.constant([1, 1, 2, 2])], mode="nearest",
                   coordinate_transformation_mode="asymmetric", nearest_mode="floor")
    if (size[0] * 2, size[1] * 2) != tuple(target):
        x = graph.node("Slice", [x, graph.constant([0, 0], "int64"), graph.constant(list(target), "int64"),
                                 graph.constant([2, 3], "int64")])
    return x
