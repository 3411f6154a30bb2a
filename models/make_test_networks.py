#!/usr/bin/env python3
"""Writes the networks that the tests of the stand-in run, to tests/networks.

A tool for whoever changes them: building, testing and running don't need it. It takes Debian's python3-onnx, and writes
the same bytes each time.

  familyF_WxH.onnx     the layers of family F (0, 1, 2), with outputs that follow simple rules, see family()
  reference_WxH.onnx   no rule, but the work of a real network: for timing
  kinds.onnx           two inputs and outputs of several types, 1x2x3
  gather.onnx          fails while it runs when its input is not 0, 1 or 2
  open.onnx            an input without a fixed height
  texts.onnx           an input of texts, which can't be handed over
"""
import os
import sys

import numpy
from onnx import TensorProto, checker, helper, numpy_helper

OPSET = 13
SIZES = [(256, 144), (640, 360)]


def constant(name, values, dtype=numpy.float32):
    return numpy_helper.from_array(numpy.array(values, dtype=dtype), name)


def floats(name, shape):
    return helper.make_tensor_value_info(name, TensorProto.FLOAT, shape)


def write(folder, name, nodes, inputs, outputs, constants):
    graph = helper.make_graph(nodes, name, inputs, outputs, constants)
    model = helper.make_model(graph, opset_imports=[helper.make_opsetid("", OPSET)], producer_name="velmoml")
    model.ir_version = 7
    checker.check_model(model)
    data = model.SerializeToString()
    if len(data) >= 100 * 1024:
        sys.exit(f"{name} has {len(data)} bytes; networks that are committed stay below 100 KB")
    with open(os.path.join(folder, name + ".onnx"), "wb") as file:
        file.write(data)
    print(f"{name}: {len(data)} bytes")


def family(folder, number, width, height):
    """segmentation           (plane 0 + plane 1 + plane 2 + plane 3) / 4, pixel by pixel
    motion                 mean of plane 0
    gesture[j]             (j + 1) x mean of plane 1
    faces_and_landmarks[i] i + mean of plane 0
    lut[i]                 i / 2 + mean of plane 2
    lut_vertices[i]        i + mean of plane 2
    """
    shape = [1, 4, height, width]
    nodes = [helper.make_node("Conv", ["input", "quarters"], ["segmentation"])]
    outputs = [floats("segmentation", [1, 1, height, width])]
    constants = [constant("quarters", numpy.full((1, 4, 1, 1), 0.25))]
    if number != 2:
        nodes += [
            helper.make_node("GlobalAveragePool", ["input"], ["means4d"]),
            helper.make_node("Reshape", ["means4d", "four"], ["means"]),
            helper.make_node("Gather", ["means", "index0"], ["motion"]),
            helper.make_node("Gather", ["means", "index1"], ["mean1"]),
            helper.make_node("Mul", ["mean1", "one_to_nine"], ["gesture"]),
            helper.make_node("Range", ["zero", "landmarks_end", "step1"], ["landmarks_ramp"]),
            helper.make_node("Add", ["landmarks_ramp", "motion"], ["landmarks_flat"]),
            helper.make_node("Reshape", ["landmarks_flat", "landmarks_shape"], ["faces_and_landmarks"]),
        ]
        outputs += [
            floats("faces_and_landmarks", [1, 1, 9, 16, 1439]),
            floats("motion", [1]),
            floats("gesture", [1, 9]),
        ]
        constants += [
            constant("four", [4], numpy.int64),
            constant("index0", [0], numpy.int64),
            constant("index1", [1], numpy.int64),
            constant("one_to_nine", [range(1, 10)]),
            constant("zero", 0),
            constant("step1", 1),
            constant("landmarks_end", 9 * 16 * 1439),
            constant("landmarks_shape", [1, 1, 9, 16, 1439], numpy.int64),
        ]
    if number == 1:
        nodes += [
            helper.make_node("Gather", ["means", "index2"], ["mean2"]),
            helper.make_node("Range", ["zero", "lut_end", "half"], ["lut_ramp"]),
            helper.make_node("Add", ["lut_ramp", "mean2"], ["lut_flat"]),
            helper.make_node("Reshape", ["lut_flat", "lut_shape"], ["lut"]),
            helper.make_node("Range", ["zero", "vertices_end", "step1"], ["vertices_ramp"]),
            helper.make_node("Add", ["vertices_ramp", "mean2"], ["vertices_flat"]),
            helper.make_node("Reshape", ["vertices_flat", "vertices_shape"], ["lut_vertices"]),
        ]
        outputs += [floats("lut", [1, 3, 33, 33, 33]), floats("lut_vertices", [1, 3, 33])]
        constants += [
            constant("index2", [2], numpy.int64),
            constant("half", 0.5),
            constant("lut_end", 3 * 33**3 / 2),
            constant("lut_shape", [1, 3, 33, 33, 33], numpy.int64),
            constant("vertices_end", 3 * 33),
            constant("vertices_shape", [1, 3, 33], numpy.int64),
        ]
    write(folder, f"family{number}_{width}x{height}", nodes, [floats("input", shape)], outputs, constants)


def reference(folder, width, height):
    """Down three times, up three times with a bridge at each size, as small networks that cut people out look like."""
    random = numpy.random.RandomState(20260318)
    nodes, constants = [], []

    def convolution(source, target, inside, outside, stride=1, kernel=3, relu=True):
        scale = numpy.sqrt(2 / (inside * kernel * kernel))
        constants.append(constant(target + "_w", random.randn(outside, inside, kernel, kernel) * scale))
        constants.append(constant(target + "_b", random.randn(outside) * 0.01))
        out = target + "_c" if relu else target
        nodes.append(helper.make_node("Conv", [source, target + "_w", target + "_b"], [out], strides=[stride, stride],
                                      pads=[kernel // 2] * 4, kernel_shape=[kernel, kernel]))
        if relu:
            nodes.append(helper.make_node("Relu", [out], [target]))

    def up(source, bridge, target):
        nodes.append(helper.make_node("Resize", [source, "", "twice"], [target + "_up"], mode="nearest",
                                      coordinate_transformation_mode="asymmetric", nearest_mode="floor"))
        nodes.append(helper.make_node("Concat", [target + "_up", bridge], [target], axis=1))

    constants.append(constant("twice", [1, 1, 2, 2]))
    constants.append(constant("scale", [1 / 255]))
    nodes.append(helper.make_node("Mul", ["input", "scale"], ["scaled"]))
    convolution("scaled", "a", 4, 8, stride=2)
    convolution("a", "b", 8, 16, stride=2)
    convolution("b", "b2", 16, 16)
    convolution("b2", "c", 16, 24, stride=2)
    convolution("c", "c2", 24, 24)
    up("c2", "b2", "d_in")
    convolution("d_in", "d", 40, 16)
    up("d", "a", "e_in")
    convolution("e_in", "e", 24, 8)
    nodes.append(helper.make_node("Resize", ["e", "", "twice"], ["f"], mode="nearest",
                                  coordinate_transformation_mode="asymmetric", nearest_mode="floor"))
    convolution("f", "g", 8, 1, relu=False)
    nodes.append(helper.make_node("Sigmoid", ["g"], ["h"]))
    constants.append(constant("white", [255]))
    nodes.append(helper.make_node("Mul", ["h", "white"], ["segmentation"]))
    write(folder, f"reference_{width}x{height}", nodes, [floats("input", [1, 4, height, width])],
          [floats("segmentation", [1, 1, height, width])], constants)


def kinds(folder):
    """sum = first + second, as doubles; rounded = that as 32-bit integers; large = sum > 10."""
    nodes = [
        helper.make_node("Cast", ["first"], ["first64"], to=TensorProto.DOUBLE),
        helper.make_node("Add", ["first64", "second"], ["sum"]),
        helper.make_node("Cast", ["sum"], ["rounded"], to=TensorProto.INT32),
        helper.make_node("Greater", ["sum", "ten"], ["large"]),
    ]
    info = helper.make_tensor_value_info
    write(folder, "kinds", nodes,
          [info("first", TensorProto.FLOAT, [1, 2, 3]), info("second", TensorProto.DOUBLE, [1, 2, 3])],
          [info("sum", TensorProto.DOUBLE, [1, 2, 3]), info("rounded", TensorProto.INT32, [1, 2, 3]),
           info("large", TensorProto.BOOL, [1, 2, 3])],
          [constant("ten", [10], numpy.float64)])


def gather(folder):
    """value = the entry of 10, 20, 30 that the input says."""
    write(folder, "gather", [helper.make_node("Gather", ["table", "index"], ["value"])],
          [helper.make_tensor_value_info("index", TensorProto.INT64, [1])], [floats("value", [1])],
          [constant("table", [10, 20, 30])])


def open_size(folder):
    write(folder, "open", [helper.make_node("Relu", ["input"], ["segmentation"])],
          [floats("input", [1, 4, "height", 8])], [floats("segmentation", [1, 4, "height", 8])], [])


def texts(folder):
    info = helper.make_tensor_value_info
    write(folder, "texts", [helper.make_node("Identity", ["input"], ["output"])],
          [info("input", TensorProto.STRING, [1])], [info("output", TensorProto.STRING, [1])], [])


def main():
    folder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "networks")
    os.makedirs(folder, exist_ok=True)
    for width, height in SIZES:
        for number in (0, 1, 2):
            family(folder, number, width, height)
        reference(folder, width, height)
    kinds(folder)
    gather(folder)
    open_size(folder)
    texts(folder)


main()
