#!/usr/bin/python3
"""Trains one network on drawn scenes and writes its weights. Stopped, it goes on where its last checkpoint was."""
import argparse
import copy
import math
import os
import time

import numpy
import torch

from batches import Batches
from families import Network
from losses import face_loss, gesture_loss, mask_loss
from scenes import Scenes
from take_over import take_over


def save(path, value):
    """Writes a file whole or not at all."""
    torch.save(value, path + ".part")
    os.replace(path + ".part", path)


def average(kept, network, share):
    """Moves the kept network a bit towards the one that learns."""
    with torch.no_grad():
        for mine, other in zip(kept.state_dict().values(), network.state_dict().values()):
            if mine.dtype.is_floating_point:
                mine.lerp_(other, share)
            else:
                mine.copy_(other)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--kind", choices=["full", "small"], required=True)
    parser.add_argument("--quality", choices=["144p", "360p"], required=True)
    parser.add_argument("--scenes", required=True, help="what draw_scenes wrote")
    parser.add_argument("--out", required=True, help="file for the weights; .checkpoint is added for what goes on")
    parser.add_argument("--start", help="weights to start from, of the same kind and either size")
    parser.add_argument("--steps", type=int, required=True)
    parser.add_argument("--batch", type=int, default=16)
    parser.add_argument("--rate", type=float, default=3e-3, help="highest learning rate")
    parser.add_argument("--seed", type=int, default=20260318)
    parser.add_argument("--threads", type=int, default=1)
    parser.add_argument("--checkpoint-steps", type=int, default=500)
    arguments = parser.parse_args()

    torch.set_num_threads(arguments.threads)
    torch.manual_seed(arguments.seed)
    network = Network(arguments.kind, arguments.quality)
    if arguments.start:
        take_over(torch.load(arguments.start)["network"], network)
    network = network.to(memory_format=torch.channels_last).train()
    kept = copy.deepcopy(network)
    adam = torch.optim.Adam(network.parameters(), lr=arguments.rate, weight_decay=1e-6)
    batches = Batches(Scenes(arguments.scenes, arguments.quality), arguments.seed)
    checkpoint = arguments.out + ".checkpoint"
    first, seconds = 0, 0.0
    if os.path.exists(checkpoint):
        state = torch.load(checkpoint)
        if state["steps"] != arguments.steps:
            parser.error(f"{checkpoint} is of a training of {state['steps']} steps")
        first, seconds = state["step"], state["seconds"]
        network.load_state_dict(state["learning"])
        kept.load_state_dict(state["kept"])
        adam.load_state_dict(state["adam"])

    start = time.time() - seconds
    sums = numpy.zeros(4)
    for step in range(first, arguments.steps):
        warm = min(1.0, (step + 1) / 100)
        for group in adam.param_groups:
            group["lr"] = arguments.rate * warm * (0.5 + 0.5 * math.cos(math.pi * step / arguments.steps)) + 1e-6
        planes, masks, weights, score, box, gesture, places = batches.sample(step, arguments.batch)
        logits, face, arms = network(planes.contiguous(memory_format=torch.channels_last))
        losses = [mask_loss(logits, masks, weights)]
        if arguments.kind == "full":
            losses += [0.05 * face_loss(face, score, box), 0.1 * gesture_loss(arms, gesture)]
        adam.zero_grad(set_to_none=True)
        sum(losses).backward()
        torch.nn.utils.clip_grad_norm_(network.parameters(), 2.0)
        adam.step()
        average(kept, network, max(0.005, 1 / (step - first + 2) if not arguments.start else 0.005))
        batches.keep(places, logits)

        with torch.no_grad():
            found, true = logits > 0, masks >= 0.5
            both, either = (found & true).sum((1, 2, 3)), (found | true).sum((1, 2, 3))
            overlap = torch.where(either > 0, both / either.clamp(min=1), torch.ones(len(both))).mean().item()
        sums += [losses[0].item(), overlap] + ([x.item() for x in losses[1:]] or [0, 0])
        if (step + 1) % 100 == 0:
            mask, overlap, face, arms = sums / 100
            sums[:] = 0
            print(f"step {step + 1}/{arguments.steps} loss {mask:.4f} overlap {overlap:.4f} face {face:.4f} "
                  f"gesture {arms:.4f} after {time.time() - start:.0f} s", flush=True)
        if (step + 1) % arguments.checkpoint_steps == 0:
            save(checkpoint, {"steps": arguments.steps, "step": step + 1, "seconds": time.time() - start,
                              "learning": network.state_dict(), "kept": kept.state_dict(), "adam": adam.state_dict()})
            save(arguments.out + ".so-far", {"quality": arguments.quality, "kind": arguments.kind,
                                             "network": kept.state_dict(), "seconds": time.time() - start})
    save(arguments.out, {"quality": arguments.quality, "kind": arguments.kind, "network": kept.state_dict(),
                         "seconds": time.time() - start})
    if os.path.exists(checkpoint):
        os.remove(checkpoint)


main()
