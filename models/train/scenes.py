"""Drawn scenes, as the program draw_scenes writes them."""
import os

import numpy

from families import SIZES

# Places in a frame's 16 floats: people seen, two faces of five values, the arms on the picture's left and right.
PEOPLE, FACES, ARMS = 0, (1, 6), (11, 12)


class Scenes:
    """The scenes of one file, which stays on the disk.

    pictures: scenes x frames x height x width x 3 bytes; masks: scenes x frames x height x width bytes.
    frames: of each scene, as told to draw_scenes; the file itself doesn't tell. Raises ValueError when its size can't
    be."""

    def __init__(self, path, quality, frames):
        self.height, self.width = SIZES[quality]
        frame = numpy.dtype([("picture", "u1", (self.height, self.width, 3)), ("mask", "u1", (self.height, self.width)),
                             ("facts", "<f4", 16)])
        count = os.path.getsize(path) // (frame.itemsize * frames)
        if count == 0 or os.path.getsize(path) != count * frame.itemsize * frames:
            raise ValueError(f"{path} holds no whole number of scenes of {frames} frames of {self.width}x{self.height}")
        drawn = numpy.memmap(path, frame, "r").reshape(count, frames)
        self.pictures, self.masks, self._facts = drawn["picture"], drawn["mask"], drawn["facts"]

    def faces(self, scene, frame):
        """Returns the seen faces: middle, width and height, in parts of the picture."""
        facts = self._facts[scene, frame]
        found = [facts[at + 1:at + 5] for at in FACES if facts[at] > 0]
        return [(x / self.width, y / self.height, 2 * w / self.width, 2 * h / self.height) for x, y, w, h in found]

    def gesture(self, scene, frame, flip):
        """Returns what the largest person's arms do: 3 times the one on the picture's left (0 hangs, 1 out, 2 raised)
        plus the one on the right; -1 when nobody is there. `flip`: of the mirrored picture."""
        facts = self._facts[scene, frame]
        if facts[PEOPLE] == 0:
            return -1
        left, right = (int(facts[at]) for at in (ARMS[::-1] if flip else ARMS))
        return 3 * left + right
