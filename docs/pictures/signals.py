#!/usr/bin/env python3
"""Writes the signals of docs/pictures.md into the current folder: two sounds of two channels with a
burst in the first, and 400 days of levels with holes."""
import datetime
import math
import random
import struct
import wave

RATE = 8000  # samples a second


def write_sound(name, seconds, has_burst):
    with wave.open(name, "wb") as file:
        file.setparams((2, 2, RATE, 0, "NONE", ""))
        for i in range(seconds * RATE):
            t = i / RATE
            burst = math.sin(2 * math.pi * 500 * t) if has_burst and 20 <= t < 24 else 0
            swell = 1 + 0.5 * math.sin(t / 4)
            near = 0.01 * swell * random.uniform(-1, 1) + 0.4 * burst
            far = 0.02 * swell * random.uniform(-1, 1) + 0.05 * burst
            file.writeframesraw(struct.pack("<hh", round(32767 * near), round(32767 * far)))


def write_year(name):
    with open(name, "w") as file:
        print("time,LAeq", file=file)
        for i in range(400 * 96):
            time = datetime.datetime(2025, 1, 1) + i * datetime.timedelta(minutes=15)
            day, hour = divmod(i / 4, 24)
            is_hole = 120 <= day < 134 or day == 200 or (day == 250 and hour < 8)
            busy = (5 if time.weekday() >= 5 else 9) if 6 <= hour < 22 else 0
            season = 4 * math.sin(2 * math.pi * (day - 90) / 365)
            event = 20 if random.random() < 0.002 else 0
            level = 48 + busy + season + event + random.gauss(0, 2.5)
            if not is_hole:
                print(f"{time},{level:.1f}", file=file)


random.seed(2)
write_sound("burst.wav", 40, True)
write_sound("later.wav", 40, False)
write_year("year.csv")
