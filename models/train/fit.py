#!/usr/bin/python3
"""Trains one network on drawn scenes and writes its weights. Stopped, it goes on where its last checkpoint was; weights
that are there already stay as they are."""
import argparse
import copy
import math
import os
import time

import numpy
import torch

from batches import Batches
from families import PLANS, SIZES, Network
from losses import face_loss, gesture_loss, mask_loss
from previous import HISTORIES
from scenes import Scenes
from take_over import take_over

WARM_UP = 100  # steps in which the learning rate rises
AVERAGE = 0.005  # share of the newest weights in the running average
REPORT = 100  # steps


def save(path, value):
    """Writes a file whole or not at all."""
    torch.save(value, path + ".part")
    os.replace(path + ".part", path)


def must_be_same(path, told, asked):
    """Ends with what differs when a file is of another training than the one that is asked for."""
    names = [name for name in asked if told.get(name) != asked[name]]
    if names:
        differences = ", ".join(f"{name} is {told.get(name)} there, not {asked[name]}" for name in names)
        raise SystemExit(f"{path} is of another training: {differences}; remove it, or ask for the same")


def training_of(arguments):
    """Returns what makes a training another one than those that were told otherwise. Folders don't."""
    names = ["quality", "plan", "steps", "batch", "rate", "seed", "frames", "history", "plain", "overlap_weight",
             "overlap_floor"]
    files = {name: os.path.basename(vars(arguments)[name] or "") for name in ("scenes", "start")}
    return files | {name: vars(arguments)[name] for name in names}


def rate_at(step, steps, highest):
    """Returns the learning rate: up quickly, then down along a cosine."""
    return highest * min(1.0, (step + 1) / WARM_UP) * (0.5 + 0.5 * math.cos(math.pi * step / steps)) + 1e-6


def average(kept, network, share):
    """Moves the kept network a bit towards the one that learns."""
    with torch.no_grad():
        for mine, other in zip(kept.state_dict().values(), network.state_dict().values()):
            if mine.dtype.is_floating_point:
                mine.lerp_(other, share)
            else:
                mine.copy_(other)


def overlap(logits, masks):
    """Returns the mean overlap of found and true masks."""
    with torch.no_grad():
        found, true = logits > 0, masks >= 0.5
        both, either = (found & true).sum((1, 2, 3)), (found | true).sum((1, 2, 3))
        return torch.where(either > 0, both / either.clamp(min=1), torch.ones(len(both))).mean().item()


class Training:
    """A network that learns, and the running average of its weights, which is what is kept in the end."""

    def __init__(self, arguments):
        self.arguments = arguments
        self.network = Network(arguments.quality, arguments.plan)
        if arguments.start:
            print(take_over(torch.load(arguments.start)["network"], self.network), flush=True)
        self.network = self.network.to(memory_format=torch.channels_last).train()
        self.kept = copy.deepcopy(self.network)
        self.adam = torch.optim.Adam(self.network.parameters(), lr=arguments.rate, weight_decay=1e-6)
        self.batches = Batches(Scenes(arguments.scenes, arguments.quality, arguments.frames), arguments.seed,
                               arguments.batch, arguments.history, arguments.plain)

    def learn(self, step):
        """Does one step. Returns loss and overlap of the masks, and the losses of faces and gestures."""
        for group in self.adam.param_groups:
            group["lr"] = rate_at(step, self.arguments.steps, self.arguments.rate)
        planes, masks, weights, score, box, gesture, places = self.batches.sample(step)
        logits, face, arms = self.network(planes.contiguous(memory_format=torch.channels_last))
        losses = [mask_loss(logits, masks, weights, self.arguments.overlap_weight, self.arguments.overlap_floor),
                  0.05 * face_loss(face, score, box), 0.1 * gesture_loss(arms, gesture)]
        self.adam.zero_grad(set_to_none=True)
        sum(losses).backward()
        torch.nn.utils.clip_grad_norm_(self.network.parameters(), 2.0)
        self.adam.step()
        # What was there before the first step counts only when it was learnt.
        average(self.kept, self.network, AVERAGE if self.arguments.start else max(AVERAGE, 1 / (step + 2)))
        self.batches.keep(places, logits)
        return numpy.array([losses[0].item(), overlap(logits, masks), losses[1].item(), losses[2].item()])

    def state(self):
        return {"told": training_of(self.arguments), "learning": self.network.state_dict(),
                "kept": self.kept.state_dict(), "adam": self.adam.state_dict()}

    def go_on(self, state):
        """Takes up what state() gave. The network's own earlier masks are lost, and made anew as it goes."""
        self.network.load_state_dict(state["learning"])
        self.kept.load_state_dict(state["kept"])
        self.adam.load_state_dict(state["adam"])

    def result(self, seconds):
        return {"told": training_of(self.arguments), "seconds": seconds, "network": self.kept.state_dict()}


def count(lowest):
    """Returns what reads a whole number that must not be below another."""
    def read(text):
        if int(text) < lowest:
            raise argparse.ArgumentTypeError(f"{text} is below {lowest}")
        return int(text)
    return read


def read_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--quality", choices=list(SIZES), required=True)
    parser.add_argument("--plan", choices=list(PLANS), help="shape of the network; that of the files unless told")
    parser.add_argument("--scenes", required=True, help="what draw_scenes wrote")
    parser.add_argument("--out", required=True, help="file for the weights; .checkpoint is added for what goes on")
    parser.add_argument("--start", help="weights to start from, of the same size or the smaller one")
    parser.add_argument("--steps", type=count(1), required=True)
    parser.add_argument("--batch", type=count(1), default=16)
    parser.add_argument("--rate", type=float, default=3e-3, help="highest learning rate")
    parser.add_argument("--seed", type=int, default=20260318)
    parser.add_argument("--frames", type=count(1), required=True, help="of each scene, as told to draw_scenes")
    parser.add_argument("--history", choices=list(HISTORIES), required=True, help="where previous masks come from")
    parser.add_argument("--plain", type=float, required=True, help="share of pictures of one colour, 0 to 1")
    parser.add_argument("--overlap-weight", type=float, required=True, help="see mask_loss")
    parser.add_argument("--overlap-floor", type=float, required=True, help="see mask_loss; above 0")
    parser.add_argument("--threads", type=count(1), default=1)
    parser.add_argument("--checkpoint-steps", type=count(1), default=500)
    arguments = parser.parse_args()
    arguments.plan = arguments.plan or arguments.quality
    return arguments


def main():
    arguments = read_arguments()
    if os.path.exists(arguments.out):
        must_be_same(arguments.out, torch.load(arguments.out)["told"], training_of(arguments))
        print(f"{arguments.out} is there already")
        return
    torch.set_num_threads(arguments.threads)
    torch.manual_seed(arguments.seed)
    training = Training(arguments)
    checkpoint = arguments.out + ".checkpoint"
    first, seconds = 0, 0.0
    if os.path.exists(checkpoint):
        state = torch.load(checkpoint)
        must_be_same(checkpoint, state["told"], training_of(arguments))
        training.go_on(state)
        first, seconds = state["step"], state["seconds"]

    start = time.time() - seconds
    sums, count = numpy.zeros(4), 0
    for step in range(first, arguments.steps):
        sums += training.learn(step)
        count += 1
        if (step + 1) % REPORT == 0:
            mask, agreement, face, arms = sums / count
            print(f"step {step + 1}/{arguments.steps} loss {mask:.4f} overlap {agreement:.4f} face {face:.4f} "
                  f"gesture {arms:.4f} after {time.time() - start:.0f} s", flush=True)
            sums, count = numpy.zeros(4), 0
        if (step + 1) % arguments.checkpoint_steps == 0:
            save(checkpoint, {**training.state(), "step": step + 1, "seconds": time.time() - start})
    save(arguments.out, training.result(time.time() - start))
    if os.path.exists(checkpoint):
        os.remove(checkpoint)


main()
