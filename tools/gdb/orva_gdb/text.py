"""Text of the inferior as C++ would write it, in characters that the terminal can show."""
import gdb

from .memory import limit, read, unsigned

# How many characters are read where the user has set no limit.
MOST_CHARACTERS = 1 << 16

PIECE = 256

ESCAPES = {0: "\\0", 7: "\\a", 8: "\\b", 9: "\\t", 10: "\\n", 11: "\\v", 12: "\\f", 13: "\\r", 34: '\\"', 92: "\\\\"}


def _charsets():
    """What the terminal can show, and what gdb can pass on there of a printer's text."""
    try:
        return gdb.host_charset(), gdb.target_charset()
    except AttributeError:  # before gdb 12
        return ("ASCII",)


def _shown(code, charsets):
    if code < 0:
        return "\\x%02X" % -code
    if code in ESCAPES:
        return ESCAPES[code]
    if code < 0x110000 and not 0xD800 <= code < 0xE000 and chr(code).isprintable():
        try:
            for charset in charsets:
                chr(code).encode(charset)
            return chr(code)
        except (UnicodeError, LookupError):
            pass
    return "\\x%02X" % code if code < 0x100 else "\\u%04X" % code if code < 0x10000 else "\\U%08X" % code


def quoted(codes, prefix="", is_cut=False):
    """A literal of character codes, with "..." behind it if there are more. A byte that is no character is negative."""
    charsets = _charsets()
    return '%s"%s"%s' % (prefix, "".join(_shown(code, charsets) for code in codes), "..." if is_cut else "")


def quoted_bytes(data, encoding, prefix="", is_cut=False):
    """As `quoted`, of text in an encoding of bytes."""
    codes = map(ord, data.decode(encoding, "surrogateescape"))
    return quoted((0xDC00 - code if 0xDC80 <= code < 0xDD00 else code for code in codes), prefix, is_cut)


def wide(address, count, length):
    """The literal of `count` wide characters at an address, the first of `length`."""
    count = min(count, limit(MOST_CHARACTERS))
    data = read(address, count * 4) if count else b""
    return quoted_units(data, 4, "L", count < length)


def quoted_units(data, size, prefix="", is_cut=False):
    """As `quoted`, of units of `size` bytes that are character codes."""
    return quoted((unsigned(data, at, size) for at in range(0, len(data), size)), prefix, is_cut)


def up_to_terminator(address, size, most):
    """The bytes of the units of `size` bytes before a 0, `most` units at the most, and whether there are more.

    Memory behind the terminator may be out of reach, so the way there goes in pieces that lie in one page.
    """
    data = b""
    while len(data) < most * size:
        piece = (PIECE - (address + len(data)) % PIECE) // size * size or size
        units = read(address + len(data), min(piece, most * size - len(data)))
        for at in range(0, len(units), size):
            if not any(units[at:at + size]):
                return data + units[:at], False
        data += units
    return data, True
