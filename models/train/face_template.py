"""The 478 points of a face, as we draw it, in the face's box."""
import numpy

POINTS = 478


def _ellipse(count, x, y, width, height, depth):
    angle = numpy.arange(count) * (2 * numpy.pi / count)
    return numpy.stack([x + width / 2 * numpy.cos(angle), y + height / 2 * numpy.sin(angle),
                        numpy.full(count, depth)], axis=1)


def _line(count, start, end, bow=0.0):
    part = numpy.linspace(0, 1, count)[:, None]
    line = numpy.array(start) * (1 - part) + numpy.array(end) * part
    line[:, 1] -= bow * (1 - (2 * part[:, 0] - 1) ** 2)
    return line


def face_template():
    """Returns 478 x 3: x and y from the box's centre, in widths and heights of the box, and z in widths, negative
    towards the viewer. Order: outline, six rings of skin inside it, brows, eyes, nose, lips, irises."""
    parts = [_ellipse(36, 0, 0, 1, 1, 0.25)]
    for ring in range(6):
        part = 0.88 - 0.13 * ring
        parts.append(_ellipse(40 - 2 * ring, 0, 0.02 * ring, part, part, 0.25 - 0.06 * (ring + 1)))
    for side in (-1, 1):
        parts.append(_line(16, [side * 0.10, -0.20, -0.1], [side * 0.36, -0.18, 0.0], bow=0.05))
    for side in (-1, 1):
        parts.append(_ellipse(32, side * 0.21, -0.09, 0.20, 0.08, -0.05))
    parts.append(_line(20, [0, -0.10, -0.1], [0, 0.10, -0.3]))
    parts.append(_ellipse(24, 0, 0.13, 0.20, 0.08, -0.2))
    parts.append(_ellipse(36, 0, 0.28, 0.36, 0.14, -0.12))
    parts.append(_ellipse(26, 0, 0.28, 0.26, 0.05, -0.1))
    for side in (-1, 1):
        parts.append(_ellipse(15, side * 0.21, -0.09, 0.07, 0.07, -0.06))
    points = numpy.concatenate(parts)
    assert points.shape == (POINTS, 3), points.shape
    return points


def template_matrix():
    """Returns the constant map from [score, cx, cy, w, h] to these five and the points' x, y, z: 5 x 1439."""
    matrix = numpy.zeros((5, 5 + 3 * POINTS))
    matrix[:, :5] = numpy.eye(5)
    x, y, z = face_template().T
    matrix[1, 5::3] = 1
    matrix[3, 5::3] = x
    matrix[2, 6::3] = 1
    matrix[4, 6::3] = y
    matrix[3, 7::3] = z
    return matrix
