#!/usr/bin/python3
"""Trains the six reference networks from nothing and writes them to models/. An hour or two on a processor; only whoever
wants other networks runs it.

Installs PyTorch and ONNX from Debian where they are missing, draws the scenes, trains four sets of weights (families 0
and 1 share theirs), writes the model files and the masks that the tests compare with, and lets network_check run the
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

# Seed of the first scene and number of scenes, of four frames each. What is held out has seeds from 2^32 up.
SCENES = {"144p": (1000, 6000, "256x144"), "360p": (20000, 1500, "640x360")}
# Kind of weights, size, whose weights to start from, and how. The larger pictures start from what was learnt on the
# smaller ones.
STAGES = [
    ("full", "144p", None, ["--steps", "7000"]),
    ("small", "144p", None, ["--steps", "4000"]),
    ("full", "360p", "144p", ["--steps", "1500", "--batch", "8", "--rate", "1e-3"]),
    ("small", "360p", "144p", ["--steps", "1500", "--batch", "8", "--rate", "1e-3"]),
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
        command = [os.path.join(PROGRAMS, "draw_scenes"), "train", "--seed", str(seed), "--sequences", str(count),
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
                        help="folder for scenes (9 GB) and weights; build/training by default")
    parser.add_argument("--threads", default=str(os.cpu_count() or 1), help="of PyTorch; one per processor by default")
    arguments = parser.parse_args()
    os.makedirs(arguments.work, exist_ok=True)
    start = time.time()

    run(os.path.join(ROOT, "scripts", "install-packages"), "python3-torch", "python3-onnx")
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
    print(f"Training took {(time.time() - start) / 60:.0f} minutes, without what was there already.", flush=True)

    # After the files are there, since the build copies them beside the program.
    check = os.path.join(PROGRAMS, "network_check")
    run("cmake", "--build", BUILD, "--target", "network_check")
    for kind in ("calyr", "inhouse"):
        for quality in ("144p", "360p"):
            run(check, "--write-samples", os.path.join(ROOT, "tests", "unit", "networks", "expected"),
                os.path.join(PROGRAMS, "models", f"{kind}_{quality}_input.dll"))
    run(check)


main()
