"""Random batches of pictures, with the fourth plane as it is used: right, late, the network's own, empty or wrong."""
import numpy
import torch

from heads import COLUMNS, ROWS
from previous import HISTORIES

NOISE_VALUES = 1 << 22


class Batches:
    """scenes: a Scenes. size: pictures in a batch. history: a name of HISTORIES. plain: share of pictures of one
    colour, as a camera gives that is covered or not there yet."""

    def __init__(self, scenes, seed, size, history, plain):
        self.scenes = scenes
        self.seed = seed
        self.size = size
        self.plain = plain
        self.history = HISTORIES[history](scenes, seed, size)
        self.noise = numpy.random.RandomState(seed).randn(NOISE_VALUES).astype(numpy.float32)

    def sample(self, step):
        """Returns batch `step`: planes, masks, weights of pixels, face scores, face boxes, gestures, and where the
        pictures come from, None for one of a plain colour."""
        random = numpy.random.RandomState((self.seed * 1000003 + step) % (1 << 32))
        size, (height, width) = self.size, self.scenes.masks.shape[2:]
        planes = numpy.empty((size, 4, height, width), numpy.float32)
        masks = numpy.empty((size, 1, height, width), numpy.float32)
        weights = numpy.empty((size, 1, height, width), numpy.float32)
        score = numpy.zeros((size, ROWS, COLUMNS), numpy.float32)
        box = numpy.zeros((size, 4, ROWS, COLUMNS), numpy.float32)
        gesture = numpy.empty(size, numpy.int64)
        places = []
        for index in range(size):
            place, light_chance = self.history.choose(random, step, index)
            scene, frame, flip = place
            view = slice(None, None, -1) if flip else slice(None)
            planes[index, 3] = self.history.previous(random, step, index, place)[:, view]
            if self.plain and random.rand() < self.plain:
                self._plain(random, planes[index, :3])
                masks[index, 0], weights[index, 0], gesture[index] = 0, 1, -1
                places.append(None)
                continue
            relight(light_chance, self.scenes.pictures[scene, frame][:, view], planes[index, :3])
            self._sense(random, planes[index, :3])
            masks[index, 0] = self.scenes.masks[scene, frame][:, view]
            weights[index, 0] = edge_weight(masks[index, 0])
            self._faces(scene, frame, flip, score[index], box[index])
            gesture[index] = self.scenes.gesture(scene, frame, flip)
            places.append(place)
        planes[:, 3] *= 1 / 255
        masks *= 1 / 255
        return [torch.from_numpy(a) for a in (planes, masks, weights, score, box, gesture)] + [places]

    def keep(self, places, logits):
        """Remembers what the network made of a batch."""
        self.history.keep(places, (torch.sigmoid(logits.detach()[:, 0]) * 255 + 0.5).to(torch.uint8).numpy())

    def _plain(self, random, out):
        """One colour, black, white or grey more often than others, with or without noise."""
        level = random.rand() if random.rand() < 0.6 else random.randint(2)
        colour = numpy.full(3, level) if random.rand() < 0.7 else random.rand(3)
        out[:] = colour.astype(numpy.float32)[:, None, None]
        self._sense(random, out)

    def _sense(self, random, out):
        """What a sensor makes of light: noise in half of the pictures, and nothing beyond black and white."""
        if random.rand() < 0.5:
            start = random.randint(NOISE_VALUES - out.size)
            out += self.noise[start:start + out.size].reshape(out.shape) * numpy.float32(random.rand() ** 2 * 0.06)
        numpy.clip(out, 0, 1, out=out)

    def _faces(self, scene, frame, flip, score, box):
        for x, y, width, height in self.scenes.faces(scene, frame):
            x = 1 - x if flip else x
            column, row = int(x * COLUMNS), int(y * ROWS)
            if 0 <= column < COLUMNS and 0 <= row < ROWS:
                score[row, column] = 1
                box[:, row, column] = ((x * COLUMNS - column + 0.5) / 2, (y * ROWS - row + 0.5) / 2, width, height)


def relight(random, picture, out):
    """Gives a picture another light and other colours than it was drawn with."""
    level = numpy.arange(256, dtype=numpy.float32) / 255
    gamma = numpy.exp(random.randn() * 0.2)
    gain = numpy.exp(random.randn() * 0.15)
    if random.rand() < 0.3:
        gain, gamma = 1.0, 1.0
    for channel in range(3):
        curve = level ** gamma * gain * numpy.exp(random.randn() * 0.06) + random.randn() * 0.02
        numpy.take(curve.astype(numpy.float32), picture[:, :, channel], out=out[channel], mode="clip")


def edge_weight(mask, extra=3.0):
    """Returns 1 for each pixel, and up to `extra` more within two pixels of the outline. mask: 0 to 255."""
    for axis in (0, 1):
        padded = numpy.pad(mask, [(2, 2) if axis == 0 else (0, 0), (2, 2) if axis == 1 else (0, 0)], mode="edge")
        length = mask.shape[axis]
        mask = sum(padded[at:at + length] if axis == 0 else padded[:, at:at + length] for at in range(5))
    mean = mask * numpy.float32(1 / (25 * 255))
    return 1 + 4 * extra * mean * (1 - mean)
