#!/usr/bin/env python3
"""Writes the example drum grooves in this folder as Standard MIDI Files.

Every file is drums on channel 10 with General MIDI drum keys, so any synthesiser plays them
the way the unit would. Run it from anywhere; it writes next to itself:

    python3 examples/make_examples.py
"""

from pathlib import Path

# General MIDI drum keys
KICK = 36
SIDE_STICK = 37
SNARE = 38
LOW_FLOOR_TOM = 41
CLOSED_HAT = 42
HIGH_FLOOR_TOM = 43
PEDAL_HAT = 44
LOW_TOM = 45
OPEN_HAT = 46
LOW_MID_TOM = 47
HIGH_MID_TOM = 48
CRASH = 49
HIGH_TOM = 50
RIDE = 51

DRUM_CHANNEL = 9  # channel 10 counted from 0


def vlq(value):
    out = [value & 0x7F]
    value >>= 7
    while value:
        out.insert(0, 0x80 | (value & 0x7F))
        value >>= 7
    return bytes(out)


def chunk(tag, body):
    return tag + len(body).to_bytes(4, "big") + body


def header(fmt, tracks, division):
    return chunk(b"MThd", fmt.to_bytes(2, "big") + tracks.to_bytes(2, "big") +
                 division.to_bytes(2, "big"))


def meta(kind, data):
    return bytes([0xFF, kind]) + vlq(len(data)) + data


def tempo(bpm):
    return meta(0x51, (60_000_000 // bpm).to_bytes(3, "big"))


def time_signature(numerator, denominator):
    power = denominator.bit_length() - 1
    return meta(0x58, bytes([numerator, power, 24, 8]))


def track_name(name):
    return meta(0x03, name.encode("ascii"))


def track(timed, end, running_status=True, off_as_zero_velocity=True):
    """timed: (tick, order, event bytes) or (tick, note, velocity, length) hits.

    Hits become a note-on and, `length` ticks later, a note-off: a note-on with velocity 0
    or a real note-off. Offs sort before ons at the same tick so a repeated note is never
    cut short. With running status, a status byte equal to the previous one is left out.
    """
    events = []
    for item in timed:
        if len(item) == 3:
            tick, order, data = item
            events.append((tick, order, data))
            continue
        tick, note, velocity, length = item
        events.append((tick, 1, bytes([0x90 | DRUM_CHANNEL, note, velocity])))
        if off_as_zero_velocity:
            off = bytes([0x90 | DRUM_CHANNEL, note, 0])
        else:
            off = bytes([0x80 | DRUM_CHANNEL, note, 64])
        events.append((tick + length, 0, off))
    events.sort(key=lambda e: (e[0], e[1], e[2]))

    body = bytearray()
    now = 0
    status = None
    for tick, _, data in events:
        body += vlq(tick - now)
        now = tick
        if data[0] < 0xF0 and running_status and data[0] == status:
            body += data[1:]
        else:
            body += data
        # Meta and system-exclusive events cancel running status in a careful writer.
        status = data[0] if data[0] < 0xF0 else None
    body += vlq(end - now) + meta(0x2F, b"")
    return chunk(b"MTrk", bytes(body))


def setup_events(name, bpm, numerator, denominator):
    return [
        (0, -3, track_name(name)),
        (0, -2, time_signature(numerator, denominator)),
        (0, -1, tempo(bpm)),
    ]


def rock_4_4():
    """Four bars of straight rock at 120 BPM: eighth hats, kick on 1 and 3, snare on 2 and 4."""
    division = 480
    bar = 4 * division
    eighth = division // 2
    hits = []
    for b in range(4):
        start = b * bar
        for i in range(8):
            accent = 100 if i % 2 == 0 else 72
            if b == 0 and i == 0:
                hits.append((start, CRASH, 110, eighth))
            else:
                hits.append((start + i * eighth, CLOSED_HAT, accent, eighth // 2))
        hits.append((start, KICK, 115, eighth))
        hits.append((start + 2 * division, KICK, 105, eighth))
        hits.append((start + division, SNARE, 112, eighth))
        hits.append((start + 3 * division, SNARE, 112, eighth))
        if b % 2 == 1:  # the "and" of three pushes every other bar
            hits.append((start + 2 * division + eighth, KICK, 90, eighth))
    body = track(setup_events("Rock 4/4", 120, 4, 4) + hits, end=4 * bar)
    return header(0, 1, division) + body


def shuffle_6_8():
    """Four bars of 6/8 at 100 BPM: hats on every eighth, kick on 1, snare on 4."""
    division = 96
    eighth = division // 2
    bar = 6 * eighth
    hits = []
    for b in range(4):
        start = b * bar
        for i in range(6):
            accent = 96 if i in (0, 3) else 64
            hits.append((start + i * eighth, CLOSED_HAT, accent, eighth // 2))
        hits.append((start, KICK, 110, eighth))
        hits.append((start + 3 * eighth, SNARE, 104, eighth))
        if b % 2 == 1:
            hits.append((start + 5 * eighth, KICK, 84, eighth))
        else:
            hits.append((start + 5 * eighth, SIDE_STICK, 58, eighth))
    body = track(setup_events("Shuffle 6/8", 100, 6, 8) + hits, end=4 * bar,
                 running_status=False, off_as_zero_velocity=False)
    return header(0, 1, division) + body


def multitrack_funk():
    """Two bars of sixteenth-note funk at 96 BPM, repeated: a tempo track, kick and snare,
    hats. The snare carries quiet ghost notes between the backbeats."""
    division = 480
    sixteenth = division // 4
    bar = 16 * sixteenth
    kick_steps = [(0, 0), (3, 0), (10, 0), (0, 1), (6, 1), (10, 1), (13, 1)]
    ghosts = [(7, 0), (9, 0), (15, 0), (1, 1), (7, 1), (9, 1)]
    open_steps = {(14, 0), (6, 1)}

    kit = []
    hats = []
    for repeat in range(2):
        for which in range(2):
            start = (2 * repeat + which) * bar
            for step, half in kick_steps:
                if half == which:
                    kit.append((start + step * sixteenth, KICK, 112, sixteenth))
            for step in (4, 12):
                kit.append((start + step * sixteenth, SNARE, 118, sixteenth))
            for step, half in ghosts:
                if half == which:
                    kit.append((start + step * sixteenth, SNARE, 34, sixteenth // 2))
            for step in range(16):
                if (step, which) in open_steps:
                    hats.append((start + step * sixteenth, OPEN_HAT, 90, 2 * sixteenth))
                elif (step - 1, which) in open_steps:
                    hats.append((start + step * sixteenth, PEDAL_HAT, 70, sixteenth))
                else:
                    velocity = 96 if step % 4 == 0 else (80 if step % 2 == 0 else 56)
                    hats.append((start + step * sixteenth, CLOSED_HAT, velocity, sixteenth // 2))

    end = 4 * bar
    tempo_track = track(setup_events("Funk 96", 96, 4, 4), end=end)
    kit_track = track([(0, -1, track_name("Kick and snare"))] + kit, end=end)
    hat_track = track([(0, -1, track_name("Hats"))] + hats, end=end)
    return header(1, 3, division) + tempo_track + kit_track + hat_track


def fill_4_4():
    """One bar of 4/4 at 120 BPM: two beats of groove on the ride, six sixteenths down the
    toms from high to floor, then kick and snare together on the last eighth."""
    division = 480
    sixteenth = division // 4
    hits = [
        (0, KICK, 112, sixteenth),
        (0, RIDE, 96, sixteenth),
        (2 * sixteenth, RIDE, 70, sixteenth),
        (4 * sixteenth, SNARE, 110, sixteenth),
        (4 * sixteenth, RIDE, 90, sixteenth),
        (6 * sixteenth, RIDE, 70, sixteenth),
    ]
    run = [HIGH_TOM, HIGH_TOM, HIGH_MID_TOM, LOW_MID_TOM, LOW_TOM, HIGH_FLOOR_TOM]
    for i, tom in enumerate(run):
        hits.append(((8 + i) * sixteenth, tom, 96 + 4 * i, sixteenth))
    hits.append((14 * sixteenth, KICK, 120, 2 * sixteenth))
    hits.append((14 * sixteenth, SNARE, 120, 2 * sixteenth))
    body = track(setup_events("Tom fill", 120, 4, 4) + hits, end=16 * sixteenth)
    return header(0, 1, division) + body


def main():
    here = Path(__file__).resolve().parent
    for name, make in [
        ("rock-4-4.mid", rock_4_4),
        ("shuffle-6-8.mid", shuffle_6_8),
        ("multitrack-funk.mid", multitrack_funk),
        ("fill-4-4.mid", fill_4_4),
    ]:
        data = make()
        (here / name).write_bytes(data)
        print(f"{name}: {len(data)} bytes")


if __name__ == "__main__":
    main()
