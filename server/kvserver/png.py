# SPDX-License-Identifier: MIT
"""Tiny PNG writer for generated face pictures (no imaging library needed)."""
import hashlib
import struct
import zlib


def _chunk(kind: bytes, payload: bytes) -> bytes:
    body = kind + payload
    return struct.pack(">I", len(payload)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)


def encode_rgb(width: int, height: int, pixels) -> bytes:
    """pixels: function (x, y) -> (r, g, b)."""
    raw = bytearray()
    for y in range(height):
        raw.append(0)
        for x in range(width):
            raw.extend(pixels(x, y))
    return (b"\x89PNG\r\n\x1a\n"
            + _chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
            + _chunk(b"IDAT", zlib.compress(bytes(raw), 9))
            + _chunk(b"IEND", b""))


def parse_color(text):
    text = text.lstrip("#")
    return tuple(int(text[i:i + 2], 16) for i in (0, 2, 4))


def face_png(seed_text: str, color=None, size: int = 48) -> bytes:
    """A round badge on a light background, coloured after seed_text."""
    if color is None:
        digest = hashlib.md5(seed_text.encode("utf-8")).digest()
        color = (64 + digest[0] % 160, 64 + digest[1] % 160, 64 + digest[2] % 160)
    elif isinstance(color, str):
        color = parse_color(color)
    background = (240, 242, 245)
    centre = (size - 1) / 2.0
    radius2 = (size * 0.42) ** 2
    inner2 = (size * 0.16) ** 2

    def pixel(x, y):
        d2 = (x - centre) ** 2 + (y - centre) ** 2
        if d2 <= inner2:
            return (255, 255, 255)
        return color if d2 <= radius2 else background

    return encode_rgb(size, size, pixel)
