#!/usr/bin/env python3
"""Trains the six reference networks from nothing and writes them to models/. Hours on a processor; only whoever wants
other networks runs it. Takes Debian's python3-torch and python3-onnx (scripts/install-packages train) and a compiler.

Draws the scenes, trains four sets of weights (families 0 and 1 share theirs), writes the files, and lets network_check
run them through the stand-in library on scenes that training never saw. Stopped, it goes on with what is there in the
work folder; an emptied one means from nothing.
"""
import argparse
import os
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)
BUILD = os.path.join(ROOT, "build", "linux")

# Seed of the first scene and number of scenes, of four frames each. Checks draw from seeds far above.
SCENES = {"144p": (1000, 6000, "256x144"), "360p": (20000, 2000, "640x360")}
# The larger pictures start from what was learnt on the smaller ones.
STAGES = [
    ("full", "144p", None, ["--steps", "7000", "--batch", "16"]),
    ("small", "144p", None, ["--steps", "7000", "--batch", "16"]),
    ("full", "360p", "144p", ["--steps", "2500", "--batch", "8", "--rate", "2e-3"]),
    ("small", "360p", "144p", ["--steps", "2500", "--batch", "8", "--rate", "2e-3"]),
]


def run(*command):
    """Runs a command, or ends with its failure."""
    print("+", " ".join(command), flush=True)
    if subprocess.run(command).returncode != 0:
        sys.exit(f"failed: {' '.join(command)}")


def draw(work, quality):
    """Draws the scenes of a size unless they are there; returns their file."""
    path = os.path.join(work, f"scenes-{quality}.raw")
    if not os.path.exists(path):
        seed, count, size = SCENES[quality]
        command = [os.path.join(BUILD, "bin", "draw_scenes"), "train", "--seed", str(seed), "--sequences", str(count),
                   "--frames", "4", "--size", size]
        print("+", " ".join(command), ">", path, flush=True)
        with open(path + ".part", "wb") as file:
            if subprocess.run(command, stdout=file).returncode != 0:
                sys.exit("the scenes can't be drawn")
        os.replace(path + ".part", path)
    return path


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--work", default=os.path.join(ROOT, "build", "training"),
                        help="folder for scenes (10 GB) and weights; build/training by default")
    parser.add_argument("--threads", default="2", help="of PyTorch")
    arguments = parser.parse_args()
    os.makedirs(arguments.work, exist_ok=True)
    start = time.time()

    run("cmake", "--preset", "linux", "-S", ROOT)
    run("cmake", "--build", BUILD, "--target", "draw_scenes")
    for kind, quality, first, options in STAGES:
        weights = os.path.join(arguments.work, f"{kind}-{quality}.pt")
        if not os.path.exists(weights):
            command = [sys.executable, os.path.join(HERE, "train", "fit.py"), "--kind", kind, "--quality", quality,
                       "--scenes", draw(arguments.work, quality), "--out", weights, "--threads", arguments.threads]
            if first:
                command += ["--start", os.path.join(arguments.work, f"{kind}-{first}.pt")]
            run(*command, *options)
        run(sys.executable, os.path.join(HERE, "train", "export.py"), weights, HERE)
    print(f"This run took {(time.time() - start) / 60:.0f} minutes.")

    # After the files are there, since the build copies them beside the program.
    run("cmake", "--build", BUILD, "--target", "network_check")
    run(os.path.join(BUILD, "bin", "network_check"))


main()
