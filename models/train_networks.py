#!/usr/bin/python3
"""Trains the six reference networks from nothing and writes them to models/. Two hours on a processor; only whoever
wants other networks runs it.

Installs PyTorch and ONNX from Debian where they are missing, draws the scenes, trains two sets of weights (the
families share them), writes the model files and the masks that the tests compare with, and lets network_check run the
files through the stand-in library on scenes that training never saw. Stopped, it goes on with what is in the work folder;
an empty one means from nothing.
"""
import argparse
import os
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)
BUILD = os.path.join(ROOT, "build", "linux")
PROGRAMS = os.path.join(BUILD, "bin")

# A stage: name of its weights, size, scenes (seed of the first, how many), weights to start from, and how.
# The larger pictures start from what was learnt on the smaller ones.
STAGES = [
    ("first-144p", "144p", (1000, 8000), None, ["--steps", "11000"]),
    ("second-144p", "144p", (50000, 5000), "first-144p", ["--steps", "4000", "--rate", "1.5e-3", "--seed", "7"]),
    ("144p", "144p", (50000, 5000), "second-144p", ["--steps", "800", "--rate", "5e-4", "--seed", "9"]),
    ("second-360p", "360p", (20000, 2500), "first-144p",
     ["--steps", "2500", "--batch", "8", "--rate", "1.5e-3", "--seed", "8"]),
    ("360p", "360p", (20000, 2500), "second-360p", ["--steps", "400", "--batch", "8", "--rate", "5e-4", "--seed", "9"]),
]
FINAL = ["144p", "360p"]
PICTURES = {"144p": "256x144", "360p": "640x360"}


def run(*command):
    """Runs a command, or ends with its failure."""
    print("+", " ".join(command), flush=True)
    if subprocess.run(command).returncode != 0:
        sys.exit(f"failed: {' '.join(command)}")


def draw(work, quality, seed, count):
    """Draws scenes unless they are there; returns their file."""
    path = os.path.join(work, f"scenes-{quality}-{seed}-{count}.raw")
    if not os.path.exists(path):
        command = [os.path.join(PROGRAMS, "draw_scenes"), "train", "--seed", str(seed), "--sequences", str(count),
                   "--frames", "4", "--size", PICTURES[quality]]
        print("+", " ".join(command), ">", path, flush=True)
        with open(path + ".part", "wb") as file:
            if subprocess.run(command, stdout=file).returncode != 0:
                sys.exit("the scenes can't be drawn")
        os.replace(path + ".part", path)
    return path


def train(work, threads, name, quality, scenes, first, options):
    """Trains a stage unless its weights are there."""
    weights = os.path.join(work, name + ".pt")
    if os.path.exists(weights):
        return
    command = [sys.executable, os.path.join(HERE, "train", "fit.py"), "--quality", quality, "--scenes",
               draw(work, quality, *scenes), "--out", weights, "--threads", threads]
    if first:
        command += ["--start", os.path.join(work, first + ".pt")]
    run(*command, *options)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--work", default=os.path.join(ROOT, "build", "training"),
                        help="folder for scenes (17 GB) and weights; build/training by default")
    parser.add_argument("--threads", default=str(os.cpu_count() or 1), help="of PyTorch; one per processor by default")
    arguments = parser.parse_args()
    os.makedirs(arguments.work, exist_ok=True)
    start = time.time()

    run(os.path.join(ROOT, "scripts", "install-packages"), "python3-torch", "python3-onnx")
    run("cmake", "--preset", "linux", "-S", ROOT)
    run("cmake", "--build", BUILD, "--target", "draw_scenes")
    for stage in STAGES:
        train(arguments.work, arguments.threads, *stage)
    for name in FINAL:
        run(sys.executable, os.path.join(HERE, "train", "export.py"), os.path.join(arguments.work, name + ".pt"), HERE)
    print(f"Training took {(time.time() - start) / 60:.0f} minutes, without what was there already.", flush=True)

    # After the files are there, since the build copies them beside the program.
    check = os.path.join(PROGRAMS, "network_check")
    run("cmake", "--build", BUILD, "--target", "network_check")
    for name in FINAL:
        run(check, "--write-samples", os.path.join(ROOT, "tests", "unit", "networks", "expected"),
            os.path.join(PROGRAMS, "models", f"calyr_{name}_input.dll"))
    run(check)


main()
