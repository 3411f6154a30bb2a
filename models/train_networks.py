#!/usr/bin/python3
"""Trains the six reference networks from nothing and writes them to models/. Takes hours on a processor
(docs/networks.md tells how many); only whoever wants other networks runs it.

Installs what a build needs, and PyTorch and ONNX, from Debian where they are missing, draws the scenes, trains two sets
of weights (the families share them), writes the model files and the masks that the tests compare with, and lets
network_check run the files through the stand-in library on scenes that training never saw. Stopped, it goes on with
what is in the work folder; an empty one means from nothing.
"""
import argparse
import os
import subprocess
import sys
import time
from typing import List, NamedTuple, Optional

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)
BUILD = os.path.join(ROOT, "build", "linux")
PROGRAMS = os.path.join(BUILD, "bin")


class Scenes(NamedTuple):
    """What a stage learns from: pictures for a network's size, of scenes that training may see."""
    quality: str
    seed: int  # of the first
    count: int
    frames: int  # of each


class Stage(NamedTuple):
    name: str  # of its weights
    scenes: Scenes
    start: Optional[str]  # whose weights it starts from
    options: List[str]  # of fit.py


FEW_SCENES = ["--history", "remembered", "--overlap-weight", "0.5", "--overlap-floor", "0.01"]
MANY_SCENES = ["--history", "streamed", "--overlap-weight", "1", "--overlap-floor", "0.001", "--plain", "0.04"]
# The base learns from a few scenes that come often; the networks of the files then from many that come rarely, with
# what makes outlines finer. Those for the larger pictures start from what was learnt on the smaller ones.
STAGES = [
    Stage("first", Scenes("144p", 1000, 8000, 4), None,
          ["--plan", "base", "--steps", "11000", "--plain", "0", *FEW_SCENES]),
    Stage("second", Scenes("144p", 50000, 5000, 4), "first",
          ["--plan", "base", "--steps", "4000", "--rate", "1.5e-3", "--seed", "7", "--plain", "0", *FEW_SCENES]),
    Stage("third", Scenes("144p", 50000, 5000, 4), "second",
          ["--plan", "base", "--steps", "800", "--rate", "5e-4", "--seed", "9", "--plain", "0.04", *FEW_SCENES]),
    Stage("144p", Scenes("144p", 100000, 50000, 2), "third",
          ["--steps", "22000", "--rate", "2e-3", "--seed", "10", *MANY_SCENES]),
    Stage("360p", Scenes("360p", 200000, 12000, 2), "third",
          ["--steps", "8800", "--batch", "8", "--rate", "1.5e-3", "--seed", "11", *MANY_SCENES]),
]
FINAL = ["144p", "360p"]
PICTURES = {"144p": "256x144", "360p": "640x360"}


def run(*command):
    """Runs a command, or ends with its failure."""
    print("+", " ".join(command), flush=True)
    if subprocess.run(command).returncode != 0:
        sys.exit(f"failed: {' '.join(command)}")


def scenes_path(work, scenes):
    return os.path.join(work, f"scenes-{scenes.quality}-{scenes.seed}-{scenes.count}-{scenes.frames}.raw")


def draw(path, scenes):
    """Draws scenes unless they are there."""
    if os.path.exists(path):
        return
    command = [os.path.join(PROGRAMS, "draw_scenes"), "train", "--seed", str(scenes.seed), "--sequences",
               str(scenes.count), "--frames", str(scenes.frames), "--size", PICTURES[scenes.quality]]
    print("+", " ".join(command), ">", path, flush=True)
    with open(path + ".part", "wb") as file:
        if subprocess.run(command, stdout=file).returncode != 0:
            sys.exit("the scenes can't be drawn")
    os.replace(path + ".part", path)


def train(work, threads, stage, later):
    """Trains a stage, unless its weights are there. Removes its scenes, unless one of the stages `later` needs them."""
    weights, path = os.path.join(work, stage.name + ".pt"), scenes_path(work, stage.scenes)
    if not os.path.exists(weights):
        draw(path, stage.scenes)
    command = [sys.executable, os.path.join(HERE, "train", "fit.py"), "--quality", stage.scenes.quality,
               "--scenes", path, "--frames", str(stage.scenes.frames), "--out", weights, "--threads", threads]
    if stage.start:
        command += ["--start", os.path.join(work, stage.start + ".pt")]
    run(*command, *stage.options)
    if os.path.exists(path) and all(stage.scenes != other.scenes for other in later):
        os.remove(path)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--work", default=os.path.join(ROOT, "build", "training"),
                        help="folder for scenes (up to 22 GB at a time) and weights; build/training by default")
    parser.add_argument("--threads", default=str(os.cpu_count() or 1), help="of PyTorch; one per processor by default")
    arguments = parser.parse_args()
    os.makedirs(arguments.work, exist_ok=True)
    start = time.time()

    run(os.path.join(ROOT, "scripts", "install-packages"))
    run(os.path.join(ROOT, "scripts", "install-packages"), "python3-torch", "python3-onnx")
    run(os.path.join(ROOT, "scripts", "fetch-onnxruntime"))
    run("cmake", "--preset", "linux", "-S", ROOT)
    run("cmake", "--build", BUILD, "--target", "draw_scenes")
    for index, stage in enumerate(STAGES):
        train(arguments.work, arguments.threads, stage, STAGES[index + 1:])
    for name in FINAL:
        run(sys.executable, os.path.join(HERE, "train", "export.py"), os.path.join(arguments.work, name + ".pt"), HERE)
    print(f"This took {(time.time() - start) / 60:.0f} minutes, without what was there already.", flush=True)

    # After the files are there, since the build copies them beside the program.
    check = os.path.join(PROGRAMS, "network_check")
    run("cmake", "--build", BUILD, "--target", "network_check")
    for name in FINAL:
        run(check, "--write-samples", os.path.join(ROOT, "tests", "unit", "networks", "expected"),
            os.path.join(PROGRAMS, "models", f"calyr_{name}_input.dll"))
    run(check)


main()
