"""Pooled strings and other texts that the library owns."""
import gdb

from .blocks import POOLED_STRING, Block, HandlePrinter
from .memory import Unreadable, counted, field, limit, plain_type, symbol_at, type_named
from .printer import Printer
from .text import MOST_CHARACTERS, quoted_bytes, quoted_units, up_to_terminator, wide

CONSTANTS = {
    "ORVA::String::Constants::null_record": "null",
    "ORVA::String::Constants::empty_record": 'L""',
    "ORVA::String::Constants::true_record": 'L"true" (constant)',
    "ORVA::String::Constants::false_record": 'L"false" (constant)',
}

# A search key of other than wide text has a copy of this many characters at the most.
CHARACTERS_OF_A_KEY = 10


def record_text(record, room=None):
    """The text of a record and its length; `room` is the size of its block's payload, where that is known."""
    length = int(field(record, "info")["len"])
    text, owned = int(field(record, "pData")), int(field(record, "pOwned"))
    if text == 0:
        raise Unreadable("a record without text")
    stands_behind = record.address is not None and text == int(record.address) + record.type.sizeof
    if stands_behind and room is not None and record.type.sizeof + (length + 1) * 4 > room:
        raise Unreadable("a record of %d characters in %d bytes" % (length, room))
    kept = min(length, CHARACTERS_OF_A_KEY) if owned == text else length
    return wide(text, kept, length), length


def summary_of(record, parts, room=None):
    """The text of a record, with its length and more in parentheses."""
    text, length = record_text(record, room)
    return "%s (%s)" % (text, ", ".join([counted(length, "character"), *parts]))


def record_type():
    return type_named("ORVA::String::tagSTRINGPOOLRECORD")


def block_text(block):
    """What a string with this block is."""
    constant = CONSTANTS.get(symbol_at(block.address)) if block.handles == 0 else None
    if constant is not None:
        return constant
    record = block.object(record_type())
    if record is None:
        raise Unreadable("a record of %d bytes" % block.size)
    return summary_of(record, [block.count()], block.size)


def is_string(block):
    return block.table_name() == POOLED_STRING


class StringPrinter(HandlePrinter):
    """A handle on any block; pooled strings are shown as their text."""

    def string(self):
        view = self.view()
        return view.block if view is not None and is_string(view.block) else None

    def summary(self):
        block = self.string()
        return super().summary() if block is None else block_text(block)


class RecordPrinter(Printer):
    """A record. The handles are those on its block, if it is the payload of one."""

    def summary(self):
        record = self.value
        block = None
        if record.address is not None:
            try:
                header = type_named("ORVA::Buffers::tagCPOMEMHEADER").pointer()
                block = Block(record.address.cast(header) - 1)
            except (Unreadable, gdb.error):
                pass
        in_block = block is not None and is_string(block)
        parts = [block.count()] if in_block else []
        parts.append("age %d" % int(field(record, "age")))
        if int(field(record, "pOwned")):
            parts.append("UTF-8 form kept")
        return summary_of(record, parts, block.size if in_block else None)


class StaticRecordPrinter(Printer):
    """A record that is not pooled: a constant or a search key."""

    def summary(self):
        address = self.value.address
        constant = None if address is None else CONSTANTS.get(symbol_at(int(address)))
        return constant or summary_of(field(self.value, "record"), ["static"])


class HolderPrinter(Printer):
    """Text in one of the encodings, held for a while."""

    def summary(self):
        # The holders' lengths are not all those of the text, so its terminator is looked for.
        pointer = field(self.value, "pText")
        if int(pointer) == 0:
            return "null"
        unit = plain_type(pointer.type).target().sizeof
        data, is_cut = up_to_terminator(int(pointer), unit, limit(MOST_CHARACTERS))
        if unit > 1:
            # UTF-16 unit by unit, since the library's pairs are not those of other readers.
            return quoted_units(data, unit, "L" if unit == 4 else "u", is_cut)
        if (plain_type(self.value.type).name or "").endswith("CUTF8Char"):
            return quoted_bytes(data, "utf-8", "u8", is_cut)
        return quoted_bytes(data, "cp1252", "", is_cut)
