"""What the full families compute besides the mask: faces, gesture, motion, and the colour table."""
import numpy
import torch
from torch import nn
from torch.nn import functional

from face_template import POINTS, template_matrix
from layers import Conv, convolve

ROWS, COLUMNS = 9, 16
GESTURES = 9
TABLE = 33
# How far the table's gains go, so that a picture of one colour keeps most of it.
LOWEST_GAIN, HIGHEST_GAIN = 0.75, 1.35


def _resample(count, cells, step, length):
    """Returns the `cells` x `count` matrix that takes values at 0, step, 2 step, ... to the middles of `cells` equal
    parts of `length`, linearly."""
    matrix = numpy.zeros((cells, count), numpy.float32)
    for cell in range(cells):
        at = min(max(((cell + 0.5) * length / cells - step / 2) / step, 0), count - 1)
        low = min(int(at), count - 2)
        matrix[cell, low] = low + 1 - at
        matrix[cell, low + 1] = at - low
    return matrix


class Heads(nn.Module):
    """Faces and gesture from the trunk's features on a grid of 9 x 16 cells.

    deep, middle: channels of the trunk's smallest features and of those that are pooled to the grid.
    size: (height, width) of the picture; step: pixels of it per smallest feature."""

    def __init__(self, deep, middle, size, step, channels=48):
        super().__init__()
        self.deep_size = tuple((side + step - 1) // step for side in size)
        self.exact = self.deep_size == (ROWS, COLUMNS)
        if not self.exact:
            self.register_buffer("down", torch.from_numpy(_resample(self.deep_size[0], ROWS, step, size[0])))
            across = _resample(self.deep_size[1], COLUMNS, step, size[1]).T.copy()
            self.register_buffer("across", torch.from_numpy(across))
        self.grid = Conv(deep + middle, channels)
        self.face_near = Conv(channels, channels)
        self.face = nn.Conv2d(channels, 5, 1)
        self.arms_near = Conv(channels, 32, stride=2)
        self.arms = nn.Linear(32 * 5 * 8, GESTURES)
        nn.init.constant_(self.face.bias[:1], -4.0)

    def forward(self, features):
        """Returns face values, batch x 5 x 9 x 16, before the sigmoid, and gesture logits, batch x 9."""
        deep, middle = features[0], features[2]
        if not self.exact:
            deep = self.down @ deep.contiguous() @ self.across
        x = torch.cat([deep, functional.avg_pool2d(middle, middle.shape[2] // ROWS)], dim=1)
        x = self.grid(x)
        return convolve(self.face, self.face_near(x)), self.arms(self.arms_near(x).flatten(1))

    def emit(self, graph, features, middle_step):
        """Writes the layers "faces_and_landmarks" and "gesture". middle_step: pooled features per cell's side."""
        deep, middle = features[0], features[2]
        if not self.exact:
            deep = graph.node("MatMul", [graph.constant(self.down.numpy()), deep])
            deep = graph.node("MatMul", [deep, graph.constant(self.across.numpy())])
        middle = graph.node("AveragePool", [middle], kernel_shape=[middle_step] * 2, strides=[middle_step] * 2)
        x = self.grid.emit(graph, graph.node("Concat", [deep, middle], axis=1))

        face = graph.node("Sigmoid", [graph.convolution(self.face, self.face_near.emit(graph, x))])
        scale, offset = face_scale_and_offset()
        face = graph.node("Add", [graph.node("Mul", [face, graph.constant(scale)]), graph.constant(offset)])
        face = graph.node("Transpose", [face], perm=[0, 2, 3, 1])
        face = graph.node("Reshape", [face, graph.constant([1, 1, ROWS, COLUMNS, 5], "int64")])
        shape = [1, 1, ROWS, COLUMNS, 5 + 3 * POINTS]
        graph.node("MatMul", [face, graph.constant(template_matrix())], output="faces_and_landmarks")
        graph.output("faces_and_landmarks", shape)

        arms = graph.node("Flatten", [self.arms_near.emit(graph, x)])
        arms = graph.node("Gemm", [arms, graph.weights(self.arms.weight.detach().numpy()),
                                   graph.constant(self.arms.bias.detach().numpy())], transB=1)
        graph.node("Softmax", [arms], output="gesture", axis=1)
        graph.output("gesture", [1, GESTURES])


def face_scale_and_offset():
    """Returns what makes [score, cx, cy, w, h] in parts of the picture from five sigmoids per cell: a face's middle
    lies in its cell or half a cell outside of it."""
    scale = numpy.array([1, 2 / COLUMNS, 2 / ROWS, 1, 1], numpy.float32).reshape(1, 5, 1, 1)
    offset = numpy.zeros((1, 5, ROWS, COLUMNS), numpy.float32)
    offset[0, 1] = (numpy.arange(COLUMNS)[None, :] - 0.5) / COLUMNS
    offset[0, 2] = (numpy.arange(ROWS)[:, None] - 0.5) / ROWS
    return scale, offset


def emit_motion(graph):
    """Writes the layer "motion": how much the mask differs from the previous one, on average, 0 to 1."""
    planes = [graph.constant([index], "int64") for index in (3, 4, 1)]
    previous = graph.node("Slice", ["input", *planes])
    mask = graph.node("Sub", ["segmentation", graph.constant(0.5)])
    change = graph.node("Abs", [graph.node("Sub", [mask, previous])])
    change = graph.node("Reshape", [graph.node("GlobalAveragePool", [change]), graph.constant([1], "int64")])
    graph.node("Mul", [change, graph.constant(1 / 255)], output="motion")
    graph.output("motion", [1])


def emit_table(graph):
    """Writes the layers "lut" and "lut_vertices": gains for red, green and blue that make the picture's means equal.

    lut[0][channel][blue][green][red] is the colour that the vertex's becomes: red is the innermost axis. The vertices'
    positions are lut_vertices[0][axis], 33 steps from 0 to 1, axis 0 being red."""
    means = graph.node("GlobalAveragePool", ["input"])
    means = graph.node("Slice", [means, *[graph.constant([index], "int64") for index in (0, 3, 1)]])  # 1 x 3 x 1 x 1
    means = graph.node("Add", [means, graph.constant(1.0)])  # a black picture has gains of one
    grey = graph.node("ReduceMean", [means], axes=[1], keepdims=1)
    gains = graph.node("Div", [grey, means])
    gains = graph.node("Clip", [gains, graph.constant(LOWEST_GAIN), graph.constant(HIGHEST_GAIN)])
    gains = graph.node("Reshape", [gains, graph.constant([1, 3, 1], "int64")])
    axis = numpy.arange(TABLE, dtype=numpy.float32) / (TABLE - 1)
    values = graph.node("Mul", [gains, graph.constant(axis.reshape(1, 1, TABLE))])
    values = graph.node("Clip", [values, graph.constant(0.0), graph.constant(1.0)])
    parts = []
    for channel, shape in enumerate(([1, 1, 1, 1, TABLE], [1, 1, 1, TABLE, 1], [1, 1, TABLE, 1, 1])):
        one = graph.node("Slice", [values, graph.constant([channel], "int64"), graph.constant([channel + 1], "int64"),
                                   graph.constant([1], "int64")])
        one = graph.node("Reshape", [one, graph.constant(shape, "int64")])
        parts.append(graph.node("Expand", [one, graph.constant([1, 1, TABLE, TABLE, TABLE], "int64")]))
    graph.node("Concat", parts, output="lut", axis=1)
    graph.output("lut", [1, 3, TABLE, TABLE, TABLE])

    # Positions never change, but an output has to come out of a node.
    positions = graph.constant(numpy.tile(axis, (1, 3, 1)))
    graph.node("Identity", [positions], output="lut_vertices")
    graph.output("lut_vertices", [1, 3, TABLE])
