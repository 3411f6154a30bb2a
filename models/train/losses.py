"""What training makes small."""
import torch
from torch.nn import functional


def mask_loss(logits, target, weight, overlap_weight, floor):
    """Cross entropy with a weight for each pixel, plus overlap_weight times one minus the soft intersection over union,
    which is taken of each picture for itself.

    floor: share of the picture that is added to intersection and union. It keeps an empty picture's part small until
    something is found in it; the smaller it is, the more small figures count, and what is found where nobody is."""
    entropy = functional.binary_cross_entropy_with_logits(logits, target, weight)
    part = torch.sigmoid(logits)
    both = (part * target).sum((1, 2, 3))
    either = (part + target - part * target).sum((1, 2, 3))
    pixels = target.shape[2] * target.shape[3]
    overlap = (both + floor * pixels) / (either + floor * pixels)
    return entropy + overlap_weight * (1 - overlap).mean()


def face_loss(face, score, box):
    """face: batch x 5 x rows x columns before the sigmoid; score and box (4 values, after it): what should come out."""
    found = functional.binary_cross_entropy_with_logits(face[:, 0], score, reduction="sum")
    away = (torch.sigmoid(face[:, 1:]) - box).abs().sum(1) * score
    return (found + 5 * away.sum()) / (score.sum() + 0.1 * len(score))


def gesture_loss(logits, gesture):
    """gesture: the right class of each picture, -1 where there is none."""
    if (gesture < 0).all():
        return logits.sum() * 0
    return functional.cross_entropy(logits, gesture, ignore_index=-1)
