#!/usr/bin/python3
"""Writes the model files of all families for pictures of one size."""
import argparse
import os

import torch

from families import FAMILIES, Network


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("weights", help="what fit.py wrote")
    parser.add_argument("folder", help="where the model files go")
    arguments = parser.parse_args()
    trained = torch.load(arguments.weights)
    quality = trained["told"]["quality"]
    network = Network(quality, trained["told"]["plan"])
    network.load_state_dict(trained["network"])
    network.eval()
    for family in FAMILIES:
        path = os.path.join(arguments.folder, f"{family}_{quality}_input.dll")
        data = network.to_bytes(family)
        with open(path + ".part", "wb") as file:
            file.write(data)
        os.replace(path + ".part", path)
        print(f"{path}: {len(data)} bytes")


main()
