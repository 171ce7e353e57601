#!/usr/bin/env python3
"""Reads blocks, summaries and pending rows as docs/format-blocks.md describes them, and by nothing
else. Each lies in a FILE.bin, with what it holds in FILE.txt: read_blocks.py FILE.txt..."""
import ctypes
import ctypes.util
import pathlib
import struct
import sys

XXHASH = ctypes.CDLL(ctypes.util.find_library("xxhash") or "libxxhash.so.0")
XXHASH.XXH3_64bits.restype = ctypes.c_uint64
XXHASH.XXH3_64bits.argtypes = [ctypes.c_char_p, ctypes.c_size_t]
ZSTD = ctypes.CDLL(ctypes.util.find_library("zstd") or "libzstd.so.1")
ZSTD.ZSTD_getFrameContentSize.restype = ctypes.c_uint64
ZSTD.ZSTD_decompress.restype = ctypes.c_size_t
ZSTD.ZSTD_getFrameContentSize.argtypes = [ctypes.c_char_p, ctypes.c_size_t]
ZSTD.ZSTD_decompress.argtypes = [ctypes.c_char_p, ctypes.c_size_t] * 2


def decompressed(frame):
    size = ZSTD.ZSTD_getFrameContentSize(frame, len(frame))
    out = ctypes.create_string_buffer(size)
    assert ZSTD.ZSTD_decompress(out, size, frame, len(frame)) == size
    return out.raw


class Reader:
    def __init__(self, data):
        self.data, self.at = data, 0

    def take(self, size):
        self.at += size
        assert self.at <= len(self.data)
        return self.data[self.at - size:self.at]

    def byte(self):
        return self.take(1)[0]

    def varint(self):
        number = shift = 0
        while True:
            byte = self.byte()
            number |= (byte & 127) << shift
            shift += 7
            if byte < 128:
                return number

    def zigzag(self):
        return unzigzag(self.varint())

    def bits(self, count, width):
        whole = int.from_bytes(self.take((count * width + 7) // 8), "little")
        return [whole >> i * width & (1 << width) - 1 for i in range(count)]

    def bands(self, count):
        bands = [self.zigzag()]
        while True:
            bands += [bands[-1] + 1 + i for i in range(self.varint())]
            if len(bands) >= count:
                return bands
            bands.append(bands[-1] + 2 + self.varint())

    def statuses(self):
        sizes = (self.varint() for _ in range(self.varint() + 1))
        return [self.take(size - 1).decode() if size else None for size in sizes]

    def column(self, count):
        if count == 0:
            return []
        mark, width = self.byte(), self.byte()
        kind, base, tops = mark & 31, 0, []
        if kind < 18:
            base = self.zigzag()
        else:
            for i in range(self.varint() + 1):
                tops.append(self.varint() + (tops[-1] if tops else 0))
        positions, apart = [], []
        if mark & 64:
            positions = self.take(self.byte() + 1)
            apart = [self.take(8) for _ in (positions[:1] if mark & 128 else positions)]
        numbers = []
        for p in self.bits(count, width):
            if mark & 32:
                base = k = base + unzigzag(p)
            else:
                k = base + p
            numbers.append(number(kind, (k + 2**63) % 2**64 - 2**63, p, tops))
        for i, position in enumerate(positions):
            numbers[position] = struct.unpack("<d", apart[0 if mark & 128 else i])[0]
        return numbers


def unzigzag(z):
    return -(z + 1) // 2 if z % 2 else z // 2


def number(kind, k, p, tops):
    def of_bits(form, bits):
        return struct.unpack(form, bits.to_bytes(struct.calcsize(form), "little"))[0]
    if kind < 7:
        return k / 10**kind
    if 8 <= kind < 15:
        return struct.unpack("<f", struct.pack("<f", k / 10**(kind - 8)))[0]
    if kind == 16:
        return of_bits("<f", (k ^ 0x7fffffff if k < 0 else k) & 0xffffffff)
    if kind == 17:
        return of_bits("<d", (k ^ 0x7fffffffffffffff if k < 0 else k) & 0xffffffffffffffff)
    if kind == 18:
        return of_bits("<f", p & (1 << 23) - 1 | tops[p >> 23] << 23)
    assert kind == 19
    return of_bits("<d", p & (1 << 52) - 1 | tops[p >> 52] << 52)


def double(value):
    return struct.pack(">d", value).hex()


def cell(value, index):
    return (" NULL" if value is None else " " + double(value)) + (f"/{index}" if index else "")


def status_lines(statuses):
    return [f'status "{status}"' if status is not None else "status NULL" for status in statuses]


def block(reader, period):
    mark, offset, periods = reader.byte(), reader.byte(), reader.byte() + 1
    if mark & 3:
        reader = Reader(decompressed(reader.data[reader.at:]))
    bands = reader.bands(reader.varint())
    statuses = reader.statuses()
    has_row, is_null, indexes, rows = [1] * periods, [0] * periods, [0] * periods, []
    for _ in bands:
        if mark & 4:
            form = reader.byte()
            if form != 1:
                has_row = reader.bits(periods, 1) if form & 2 else [1] * periods
                is_null = reader.bits(periods, 1) if form == 3 else [0] * periods
        if mark & 8:
            form = reader.byte()
            if form == 0:
                indexes = [reader.varint()] * periods
            elif form == 2:
                indexes = reader.bits(periods, (len(statuses) - 1).bit_length())
        present = [row and not null for row, null in zip(has_row, is_null)]
        rows.append((present, has_row, indexes, [] if mark & 3 == 2 else reader.column(sum(present))))
    planes = reader.data[reader.at:]
    numbers = iter([struct.unpack("<d", planes[i::len(planes) // 8])[0] for i in range(len(planes) // 8)]
                   if planes else [n for row in rows for n in row[3]])
    lines = status_lines(statuses)
    for band, (present, has_row, indexes, _) in zip(bands, rows):
        cells = [cell(next(numbers) if here else None, index) if row else " -"
                 for here, row, index in zip(present, has_row, indexes)]
        lines.append(f"band {band} from {period // 128 * 128 + offset}:" + "".join(cells))
    return lines


def summary(reader, _):
    bands, lines = reader.bands(reader.varint()), []
    for first in range(0, len(bands), 128):
        group = bands[first:first + 128]
        counts = [int(count) for count in reader.column(len(group))]
        figures = zip(*[reader.column(sum(count > 0 for count in counts)) for _ in range(4)])
        for band, count in zip(group, counts):
            lines.append(f"band {band}: {count}" + "".join(" " + double(v) for v in (next(figures) if count else ())))
    return lines


def row(reader, _):
    mark, count, cells, sizes, channel, function = reader.byte(), reader.varint(), [], [], 0, 0
    while len(cells) < count:
        channel, function = channel + reader.zigzag(), function + reader.zigzag()
        size = reader.varint()
        bands = reader.bands(size) if size else bands
        sizes.append(len(bands))
        cells += [(channel, function, band) for band in bands]
    statuses = reader.statuses()
    nulls = reader.bits(count, 1) if mark & 1 else [0] * count
    indexes = reader.bits(count, (len(statuses) - 1).bit_length()) if mark & 2 else [0] * count
    columns, held = [], 0  # how many cells each column takes
    for size in sizes:
        if held + size > 128:
            columns, held = columns + [held], 0
        while size > 128:
            columns, size = columns + [128], size - 128
        held += size
        if held >= 32:
            columns, held = columns + [held], 0
    values, at = [], 0
    for size in columns + [held]:
        numbers = iter(reader.column(nulls[at:at + size].count(0)))
        values += [None if null else next(numbers) for null in nulls[at:at + size]]
        at += size
    return status_lines(statuses) + [
        "%d %d %d:" % key + cell(value, index) for key, value, index in zip(cells, values, indexes)]


def check(path):
    head, *expected = path.read_text().split("\n")[:-1]
    content, *key, period = head.split()
    period = int(period)
    data = path.with_suffix(".bin").read_bytes()
    body, checksum = data[:-8], struct.unpack("<Q", data[-8:])[0]
    kind = ["block", "summary", "row"].index(content) + 1
    text = struct.pack("<5i", kind, *map(int, key), period if content == "row" else period // 128)
    text += struct.pack("<Q", XXHASH.XXH3_64bits(body, len(body)))
    assert XXHASH.XXH3_64bits(text, len(text)) == checksum, f"{path}: the checksum does not fit"
    reader = Reader(body)
    assert reader.byte() == 1
    lines = [block, summary, row][kind - 1](reader, period)
    assert lines == expected, f"{path}: it reads otherwise"


if __name__ == "__main__":
    for name in sys.argv[1:]:
        check(pathlib.Path(name))
    print(f"{len(sys.argv) - 1} files read as docs/format-blocks.md says")
