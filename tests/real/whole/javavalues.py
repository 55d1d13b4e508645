"""Java values: as the driver reads them, and what becomes of them on the wire.

None, bool, int, str and list stand for themselves; Raw is a value in the driver's own notation.
"""

import functools

MAX_TEXT = 65_535  # bytes that a record can say of one text


class Raw(str):
    """An object, in the driver's notation."""


class Repeated(str):
    """A long text that travels to the driver as a short one."""

    def __new__(cls, unit, times):
        text = super().__new__(cls, unit * times)
        text.unit, text.times = unit, times
        return text


class RepeatedList(list):
    def __init__(self, element, times):
        super().__init__([element] * times)
        self.element, self.times = element, times


def written(value):
    """The value in the driver's notation."""
    if value is None:
        return "-"
    if isinstance(value, Raw):
        return str(value)
    if isinstance(value, bool):
        return str(value).lower()
    if isinstance(value, int):
        return str(value)
    if isinstance(value, RepeatedList):
        return f"[{written(value.element)}]*{value.times}"
    if isinstance(value, list):
        return "[" + ",".join(map(written, value)) + "]"
    if isinstance(value, Repeated):
        return f'"{_escaped(value.unit)}"*{value.times}'
    return f'"{_escaped(value)}"'


def _units(text):
    raw = text.encode("utf-16-be", "surrogatepass")
    return [int.from_bytes(raw[i:i + 2], "big") for i in range(0, len(raw), 2)]


def _escaped(text):
    plain = set(map(ord, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 ._/"))
    return "".join(chr(u) if u in plain else f"\\u{u:04x}" for u in _units(text))


def _bytes_of(character):
    """Bytes in modified UTF-8, where a character beyond the first plane is two of three bytes."""
    code = ord(character)
    if code == 0:
        return 2
    return 1 if code < 0x80 else 2 if code < 0x800 else 3 if code < 0x10000 else 6


@functools.lru_cache(maxsize=None)
def arriving(text, limit=MAX_TEXT):
    """The text as the collector shows it: cut on a character, U+FFFD for each byte that is no text."""
    whole = text.encode("utf-16-be", "surrogatepass").decode("utf-16-be", "surrogatepass")
    shown, used = [], 0
    for character in whole:
        used += _bytes_of(character)
        if used > limit:
            break
        shown.append("\ufffd" * 3 if 0xD800 <= ord(character) < 0xE000 else character)
    return "".join(shown)
