#!/usr/bin/python3
"""Writes untrained networks of several shapes, to be timed by network_check --speed FILE... Masks only, no heads.

What stands behind the choice of shape in docs/networks.md."""
import argparse
import os

import torch

from families import BASE, PLANS, SIZES
from graph import Graph
from trunk import Trunk, emit_mask

LARGER = PLANS["360p"] | dict(outline=0)
SHAPES = {
    "144p": {
        "chosen": PLANS["144p"],
        "without_polish": BASE,
        "convolution_for_polish": BASE | dict(last="convolution"),
        "one_block_less": BASE | dict(depth=[0, 0, 1, 2]),
        "block_at_quarter": BASE | dict(depth=[0, 1, 1, 2]),
        "inverted": BASE | dict(depth=[0, 1, 2, 3], kind="inverted"),
        "small": dict(down=[8, 16, 32, 48], depth=[0, 0, 1, 1], up=[8, 16, 32]),
        "narrow": dict(down=[8, 16, 24, 32], depth=[0, 0, 1, 2], up=[8, 8, 16]),
        "wide": dict(down=[16, 32, 64, 96], depth=[0, 1, 1, 2], up=[16, 32, 48]),
    },
    "360p": {
        "chosen": PLANS["360p"],
        "without_outline": LARGER,
        "convolution_at_quarter": LARGER | dict(last="convolution"),
        "one_block_less": LARGER | dict(depth=[0, 0, 1, 2]),
        "inverted": LARGER | dict(depth=[0, 1, 2, 3], kind="inverted"),
        "small": dict(step=4, down=[16, 16, 32, 48], depth=[0, 0, 1, 1], up=[16, 16, 32]),
        "step_of_two": dict(down=[16, 16, 32, 48, 64], depth=[0, 0, 0, 1, 2], up=[16, 16, 16, 32]),
    },
}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("folder")
    arguments = parser.parse_args()
    torch.manual_seed(1)
    for quality, shapes in SHAPES.items():
        for name, plan in shapes.items():
            trunk = Trunk(**plan).eval()
            graph = Graph(name, [1, 4, *SIZES[quality]])
            emit_mask(graph, trunk.emit(graph, "input", SIZES[quality])[0], SIZES[quality])
            with open(os.path.join(arguments.folder, f"{quality}_{name}.onnx"), "wb") as file:
                file.write(graph.to_bytes())
            print(f"{quality}_{name}: {sum(p.numel() for p in trunk.parameters())} weights")


main()
