"""Frames as nobody should send them, and as anybody may; all told by the generator given."""

import json

from raw_agent import frame

NAMES = ["", "Anna", "Bo \N{GRINNING FACE}", "\u202eevil", "\u200b", "e" + "\u0301" * 3000,
         "W" * 5000, "\N{HEBREW LETTER ALEF}" * 40, "line\nline\ttab"]

CONTROL = [
    {"op": "stop"}, {"op": "keyframe"}, {"op": "bitrate", "bitrateKbps": 2500},
    {"op": "input", "allowed": True}, {"op": "input"}, {"op": "viewer", "name": "Anna"},
    {"op": "start", "viewer": "Anna", "input": True, "fps": 30, "bitrateKbps": 4000,
     "banner": {"strip": 80, "border": 60, "thickness": 4}},
]
INPUT = [
    {"t": "m", "e": "move", "x": 0.5, "y": 0.25, "m": 0},
    {"t": "m", "e": "down", "x": 0.5, "y": 0.5, "b": 0, "m": 1},
    {"t": "m", "e": "up", "x": 0.5, "y": 0.5, "b": 2},
    {"t": "m", "e": "wheel", "x": 0.1, "y": 0.9, "d": -1},
    {"t": "k", "c": 65, "e": "down", "m": 3}, {"t": "k", "c": 16, "e": "up", "x": 1},
    {"t": "u", "s": "Gr\u00fc\u00dfe \u65e5\u672c\u8a9e \U0001f600"},
]
NUMBERS = [0, -1, 1, 5, 61, 2 ** 31, -2 ** 31, 2 ** 63 - 1, -2 ** 63, 2 ** 64, 1e308, -1e308,
           1e-308, 0.5, 25.0]
MOST_KILOBITS = 2 ** 53
CHARACTERS = "aZ0 \n\t\u00e4\u00df\u0431\u03b1\u65e5\u8a9e\U0001f600e\u0301\u200b\u202e\x00\x1b"


def random_frame(chance):
    most = chance.choice([0, 1, 4, 5, 100, 5000, 100_000])
    kind = chance.choice([0, 1, 1, 2, 2, 3, 4, 255])
    return frame(kind, chance.randbytes(chance.randint(0, most)))


def nearly_a_message(chance):
    """A message of the protocol, changed as a value, as a text, or not at all."""
    kind = chance.choice([1, 2])
    message = dict(chance.choice(CONTROL if kind == 1 else INPUT))
    if chance.random() < 0.7:
        member = chance.choice(list(message))
        message[member] = value(chance)
        # Beyond 64 bits a rate in bits is an error that ends the program.
        if member == "bitrateKbps" and isinstance(message[member], (int, float)):
            message[member] = max(-MOST_KILOBITS, min(MOST_KILOBITS, message[member]))
    text = json.dumps(message).encode()
    if chance.random() < 0.4:
        text = mutated(chance, text)
    return frame(kind, text)


def value(chance, depth=0):
    kind = chance.randrange(8 if depth < 3 else 5)
    if kind == 0:
        return chance.choice(NUMBERS)
    if kind == 1:
        return chance.choice([True, False, None])
    if kind == 2:
        return chance.choice(NAMES)
    if kind == 3:
        return text(chance, 20)
    if kind == 4:
        return "x" * chance.choice([0, 1000, 100_000])
    if kind == 5:
        return [value(chance, depth + 1) for _ in range(chance.randrange(4))]
    if kind == 6:
        return {text(chance, 3): value(chance, depth + 1) for _ in range(chance.randrange(4))}
    nested = []
    for _ in range(chance.choice([10, 200])):
        nested = [nested]
    return nested


def text(chance, most):
    return "".join(chance.choices(CHARACTERS, k=chance.randint(0, most)))


def mutated(chance, data):
    data = bytearray(data)
    for _ in range(chance.randint(1, 4)):
        place = chance.randrange(len(data) + 1)
        kind = chance.randrange(5)
        if kind == 0:
            data[place:place + 1] = bytes([chance.randrange(256)])
        elif kind == 1:
            data[place:place] = chance.randbytes(chance.randint(1, 8))
        elif kind == 2:
            del data[place:place + chance.randint(1, 8)]
        elif kind == 3:
            data[place:place] = chance.choice([b"[", b"{\"a\":", b"\""]) * chance.choice([1, 20000])
        else:
            data = data[:place]
    return bytes(data)


def start_members(chance):
    """Of a start without consent: the person is asked only where a step means to."""
    members = {"viewer": chance.choice(NAMES), "input": chance.random() < 0.7}
    if chance.random() < 0.3:
        members["fps"] = chance.choice([-5, 0, 5, 30, 60, 1000])
    if chance.random() < 0.3:
        members["bitrateKbps"] = chance.choice([0, 100, 4000, 100_000])
    if chance.random() < 0.3:
        members["banner"] = {"strip": chance.choice([0, 50, 100]),
                             "border": chance.choice([0, 100]),
                             "thickness": chance.choice([0, 1, 8, 100])}
    return members


def input_message(chance):
    kind = chance.randrange(10)
    if kind < 5:
        message = {"t": "m", "e": chance.choice(["move", "move", "down", "up", "wheel"]),
                   "x": chance.uniform(-0.1, 1.1), "y": chance.uniform(-0.1, 1.1),
                   "b": chance.choice([0, 0, 0, 1, 2, 7]), "d": chance.choice([-1, 1]),
                   "m": chance.randrange(16)}
    elif kind < 9:
        message = {"t": "k", "c": chance.randrange(256), "e": chance.choice(["down", "up"]),
                   "m": chance.randrange(16), "x": chance.choice([0, 1])}
    else:
        message = {"t": "u", "s": text(chance, 30)}
    return frame(2, json.dumps(message).encode())
