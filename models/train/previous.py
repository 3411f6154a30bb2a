"""Which pictures a training step sees, and with which previous mask: what becomes of the fourth plane.

A history chooses a place (scene, frame, whether it is mirrored) for each picture of a batch, gives the previous mask
that comes with it, as drawn, never mirrored, and is told by keep() what the network made of it. None stands for the
place of a picture that a plain one replaced."""
import numpy


class Remembered:
    """Any frame of any scene at any time; the network's own masks are kept for each, as it made them when it last saw
    the picture. For few scenes that come often: takes as much memory as all their masks."""

    def __init__(self, scenes, seed, size):
        self.masks = scenes.masks
        self.own = numpy.zeros(self.masks.shape, numpy.uint8)
        self.seen = numpy.zeros(self.masks.shape[:2], bool)

    def choose(self, random, step, index):
        """Returns the place of the batch's picture `index`, and the chance that picks its light."""
        count, length = self.masks.shape[:2]
        return (random.randint(count), random.randint(length), bool(random.randint(2))), random

    def previous(self, random, step, index, place):
        """Returns the fourth plane, bytes."""
        scene, frame, _ = place
        kind = random.rand()
        before = max(frame - 1, 0)
        if kind < 0.30:
            return nothing(self.masks)
        if kind < 0.60 and self.seen[scene, before]:
            return self.own[scene, before]
        if kind < 0.68 and self.seen[scene, frame]:
            return self.own[scene, frame]  # nothing has moved, the noise is another
        if kind < 0.82:
            return self.masks[scene, before]
        if kind < 0.90:
            return late(random, self.masks[scene, random.randint(frame + 1)])
        if kind < 0.97:
            return other(random, self.masks)
        return full_or_empty(random, self.masks)

    def keep(self, places, masks):
        """Remembers what the network made of a batch."""
        for place, mask in zip(places, masks):
            if place is not None:
                scene, frame, flip = place
                self.own[scene, frame] = mask[:, ::-1] if flip else mask
                self.seen[scene, frame] = True


class Streamed:
    """Each picture of a batch stays with its scene for a few steps: what the network made of it is what it gets next,
    as in a stream, but for the order of the frames, which is by chance. Neighbours in a batch change scenes at
    different steps. For so many scenes that each comes but a few times.

    The mask of a plain picture isn't kept: after one comes what was kept before it, which may be another scene's."""

    STAY = 3  # steps

    def __init__(self, scenes, seed, size):
        self.masks = scenes.masks
        self.seed = seed
        self.own = numpy.zeros((size, *self.masks.shape[2:]), numpy.uint8)

    def choose(self, random, step, index):
        """Returns the place of the batch's picture `index`, and the chance that picks its light, the same while the
        scene stays."""
        visit = numpy.random.RandomState([self.seed, index, (step + index) // self.STAY])
        scene, flip = visit.randint(self.masks.shape[0]), bool(visit.randint(2))
        return (scene, random.randint(self.masks.shape[1]), flip), visit

    def previous(self, random, step, index, place):
        """Returns the fourth plane, bytes."""
        scene, frame, _ = place
        kind = random.rand()
        if (step + index) % self.STAY and kind < 0.65:
            return self.own[index]
        kind = random.rand()
        if kind < 0.55:
            return nothing(self.masks)
        if kind < 0.70:
            return self.masks[scene, random.randint(self.masks.shape[1])]
        if kind < 0.82:
            return late(random, self.masks[scene, frame])
        if kind < 0.95:
            return other(random, self.masks)
        return full_or_empty(random, self.masks)

    def keep(self, places, masks):
        """Remembers what the network made of a batch."""
        for index, (place, mask) in enumerate(zip(places, masks)):
            if place is not None:
                self.own[index] = mask[:, ::-1] if place[2] else mask


HISTORIES = {"remembered": Remembered, "streamed": Streamed}


def nothing(masks):
    return numpy.zeros(masks.shape[2:], numpy.uint8)


def other(random, masks):
    """A mask of any picture."""
    return masks[random.randint(masks.shape[0]), random.randint(masks.shape[1])]


def full_or_empty(random, masks):
    return numpy.full(masks.shape[2:], 255 * random.randint(2), numpy.uint8)


def late(random, mask):
    """A mask that lies a few pixels elsewhere, as if it were of some frames ago."""
    return moved(mask, random.randint(-12, 13), random.randint(-6, 7))


def moved(mask, right, down):
    """Returns the mask moved by pixels, with nothing where it came from."""
    height, width = mask.shape
    out = numpy.zeros_like(mask)
    out[max(down, 0):height + min(down, 0), max(right, 0):width + min(right, 0)] = \
        mask[max(-down, 0):height + min(-down, 0), max(-right, 0):width + min(-right, 0)]
    return out
