"""Starting a network from another's weights."""
import torch

SUB = 2  # pixels of 640 x 360 along the side of what a network for 256 x 144 takes for one


def take_over(state, network):
    """Starts from another network's weights, and returns a line that tells how much of it there was to take.

    One for 640 x 360 that starts from one for 256 x 144 first computes what that one makes of the picture at half its
    size: the first convolution's weights are spread over squares of 2 x 2 pixels, the last one's values go to each
    pixel of such a square. Channels that it has more of start with their own values, and with no say in the others.
    Ends the program when the other network doesn't fit into this one."""
    own = network.state_dict()
    whole, part = 0, 0
    for name, value in state.items():
        if name not in own:
            continue
        target = own[name]
        if name == "trunk.shrink.0.conv.weight" and (value.shape[2:], target.shape[2:]) == ((3, 3), (7, 7)):
            value = _spread(value)
        if name.startswith("trunk.mask.") and (len(value), len(target)) == (4, 16):
            value = _repeat(value)
        if value.dim() != target.dim() or any(a > b for a, b in zip(value.shape, target.shape)):
            raise SystemExit(f"{name} is {list(value.shape)} in the weights to start from, too much for "
                             f"{list(target.shape)}")
        if target.shape == value.shape:
            own[name] = value.clone()
            whole += 1
        else:
            _corner(target, value)
            part += 1
    if whole + part == 0:
        raise SystemExit("nothing in the weights to start from has a place in this network")
    network.load_state_dict(own)
    return f"starts from {whole} tensors as they were, {part} in part; {len(own) - whole - part} are new"


def _spread(weight):
    """3 x 3 at a stride of 2 as 7 x 7 at a stride of 4: means of 2 x 2, the first row and column unused."""
    large = torch.zeros(*weight.shape[:2], 7, 7)
    large[:, :, 1:, 1:] = weight.repeat_interleave(SUB, 2).repeat_interleave(SUB, 3) / SUB ** 2
    return large


def _repeat(values):
    """What was 2 x 2 values per place as 4 x 4."""
    square = values.reshape(2, 2, *values.shape[1:])
    square = square.repeat_interleave(SUB, 0).repeat_interleave(SUB, 1)
    return square.reshape(16, *values.shape[1:])


def _corner(target, value):
    """Copies into the first channels; their weights for channels that are new are zero."""
    outside = value.shape[0]
    if target.dim() > 1:
        target[:outside] = 0
        target[:outside, :value.shape[1]] = value
    else:
        target[:outside] = value
