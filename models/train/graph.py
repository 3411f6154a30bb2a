"""A network's graph while it is being written as an ONNX file."""
import numpy
from onnx import TensorProto, checker, helper, numpy_helper

OPSET = 13
BYTES_FROM = 10_000  # weights in one layer
IR_VERSION = 7


class Graph:
    """Collects nodes and constants. Names are made up from a counter, so the same calls give the same bytes."""

    def __init__(self, name, input_shape):
        self.name = name
        self.nodes = []
        self.constants = []
        self.outputs = []
        self.inputs = [helper.make_tensor_value_info("input", TensorProto.FLOAT, input_shape)]

    def constant(self, values, dtype=numpy.float32):
        """Adds a constant and returns its name."""
        name = f"c{len(self.constants)}"
        self.constants.append(numpy_helper.from_array(numpy.array(values, dtype=dtype, order="C"), name))
        return name

    def weights(self, values):
        """Adds weights as small as they may be: many of them as bytes with a scale for each value that they make, few as
        16-bit floats. Whoever loads the file widens them once."""
        if values.size < BYTES_FROM:
            return self.node("Cast", [self.constant(values, numpy.float16)], to=TensorProto.FLOAT)
        scale = numpy.abs(values).max(axis=tuple(range(1, values.ndim)), keepdims=True) / 127
        scale = numpy.maximum(scale, numpy.finfo(numpy.float32).tiny)
        bytes_ = self.node("Cast", [self.constant(numpy.rint(values / scale), numpy.int8)], to=TensorProto.FLOAT)
        return self.node("Mul", [bytes_, self.constant(scale)])

    def node(self, kind, inputs, output=None, **attributes):
        """Adds a node with one output and returns that output's name."""
        name = output or f"t{len(self.nodes)}"
        self.nodes.append(helper.make_node(kind, inputs, [name], **attributes))
        return name

    def convolution(self, layer, x, weight=None, bias=None):
        """Adds a PyTorch convolution, with other weights than its own when they are given."""
        weight = layer.weight if weight is None else weight
        bias = layer.bias if bias is None else bias
        return self.node("Conv", [x, self.weights(weight.detach().numpy()), self.constant(bias.detach().numpy())],
                         kernel_shape=list(layer.kernel_size), strides=list(layer.stride),
                         pads=list(layer.padding) * 2, group=layer.groups)

    def output(self, name, shape):
        """Declares a node's output as one of the network's."""
        self.outputs.append(helper.make_tensor_value_info(name, TensorProto.FLOAT, shape))

    def to_bytes(self):
        """Returns the file's content, checked."""
        graph = helper.make_graph(self.nodes, self.name, self.inputs, self.outputs, self.constants)
        model = helper.make_model(graph, opset_imports=[helper.make_opsetid("", OPSET)], producer_name="velmoml")
        model.ir_version = IR_VERSION
        checker.check_model(model)
        return model.SerializeToString()
