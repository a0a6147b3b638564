#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The sound of play_load.sh, and the comparison of what was recorded with it.

The sound: a tenth of a second of silence, then frames whose number can be told from their samples: the left channel
holds the low 15 bits of the frame number times an odd factor, the right one the next 15 bits, neither ever zero and all
well below full scale, so that nothing on the way changes them."""
import array
import json
import sys

RATE = 48000
LEAD = RATE // 10
MASK = 0x7FFF
ODD = 0x2F35  # odd, so that the product modulo 2^15 can be undone
INVERSE = pow(ODD, -1, 1 << 15)


def make(path, seconds):
    """As 32-bit floats, which a reader has nothing to convert in."""
    frames = seconds * RATE
    with open(path, "wb") as out:
        size = frames * 8
        out.write(b"RIFF" + (size + 36).to_bytes(4, "little") + b"WAVEfmt " + (16).to_bytes(4, "little"))
        out.write((3).to_bytes(2, "little") + (2).to_bytes(2, "little") + RATE.to_bytes(4, "little"))
        out.write((RATE * 8).to_bytes(4, "little") + (8).to_bytes(2, "little") + (32).to_bytes(2, "little"))
        out.write(b"data" + size.to_bytes(4, "little") + bytes(LEAD * 8))
        for begin in range(LEAD, frames, RATE):
            out.write(samples_of(begin, min(frames, begin + RATE)).tobytes())


LEFT = [((low * ODD & MASK) - 16384 or 16384) / 32768 for low in range(1 << 15)]


def samples_of(first, end):
    samples = array.array("f", bytes((end - first) * 8))
    samples[0::2] = array.array("f", [LEFT[number & MASK] for number in range(first, end)])
    samples[1::2] = array.array("f", [((number >> 15 & MASK) - 16384 or 16384) / 32768 for number in range(first, end)])
    return samples


def floats(path):
    data = open(path, "rb").read()
    if path.endswith(".wav"):
        data = data[data.index(b"data") + 8:]
    return array.array("f", data[: len(data) // 8 * 8])


def frame_number(left, right):
    """None for what is no frame of the sound."""
    low, high = left * 32768, right * 32768
    if low != int(low) or high != int(high) or not low or not high:
        return None
    low = (0 if low == 16384 else int(low)) + 16384
    high = (0 if high == 16384 else int(high)) + 16384
    if not (0 <= low <= MASK and 0 <= high <= MASK):
        return None
    return high << 15 | (low * INVERSE & MASK)


def runs_of(samples):
    """Stretches [first, end) of frames in the order in which they were recorded, the places where silence stands between
    frames that follow each other, with its length, and a count of frames that are neither of the sound nor silence."""
    runs, holes, strange = [], [], 0
    at, count, end = 0, len(samples) // 2, 0  # end: of the last stretch, in the recording
    while at < count:
        left, right = samples[2 * at], samples[2 * at + 1]
        number = frame_number(left, right)
        if number is None or number < LEAD:
            strange += bool(left or right)
            at += 1
            continue
        if not runs or runs[-1][1] != number:
            runs.append([number, number])
        else:
            holes.append((number, at - end))
        for step in (4096, 1):  # as far as it goes on, in large steps and then frame by frame
            while at < count:
                now = min(step, count - at)
                if samples[2 * at: 2 * (at + now)] != samples_of(number, number + now):
                    break
                at += now
                number += now
        runs[-1][1], end = number, at
    return runs, holes, strange


def compare(server, status, xruns, report, recording):
    try:
        played = json.load(open(report))
    except ValueError:
        print(f"{server}: FAULT: the program has played nothing, exit status {status}")
        return 1
    frames, gaps = played["frames"], played["gaps"]
    runs, holes, strange = runs_of(floats(recording))
    heard = sum(end - first for first, end in runs)
    breaks = len(runs) - 1
    # A recorder may have to be connected in the middle of the lead and may drop its last buffer.
    tail = frames - (runs[-1][1] if runs else 0)
    first = runs[0][0] if runs else -1
    whole = bool(runs) and first == LEAD and tail <= RATE // 5
    good = not (status or xruns or gaps or breaks or holes or strange) and whole
    print(f"{server}: {'good' if good else 'FAULT'}: {frames / RATE:.1f} s played, {gaps} gaps counted by the program, "
          f"{xruns} xruns told by the server, {breaks} breaks, {len(holes)} holes and {strange} strange frames in {heard} recorded "
          f"(from frame {first}, the last {tail} missing), exit status {status}")
    for before, after in list(zip(runs, runs[1:]))[:5]:
        print(f"    frame {before[1]} is followed by frame {after[0]}")
    for number, length in holes[:5]:
        print(f"    {length} frames of silence before frame {number}")
    return 0 if good else 1


if sys.argv[1] == "--make":
    make(sys.argv[2], int(sys.argv[3]))
else:
    sys.exit(compare(sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), sys.argv[4], sys.argv[5]))
