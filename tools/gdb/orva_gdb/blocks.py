"""Blocks of object memory, and the handles on them."""
import re

import gdb

from .memory import (Unreadable, counted, field, limit, member_fields, plain_type, read, short_name,
                     symbol_at, type_named)
from .printer import Composite
from .text import MOST_CHARACTERS, quoted_bytes, quoted_units, up_to_terminator

POOLED_STRING = "ORVA::String::poolstring_vtbl"

# How many bytes of plain memory are shown where the user has set no limit.
MOST_BYTES = 1 << 10


class Block:
    """The header of a block, checked as far as it can be."""

    def __init__(self, pointer):
        self.address = int(pointer)
        if self.address % 8 != 0:
            raise Unreadable("no block begins at %#x" % self.address)
        header = pointer.dereference()
        if not member_fields(plain_type(header.type)):
            raise Unreadable("no debug information about the header of a block")
        header.fetch_lazy()
        self.handles = int(header["lRefCnt"])
        self.room = int(header["uAllocSize"])
        self.size = int(header["uSize"])
        self.table = int(header["pVTbl"])
        self.payload = pointer + 1
        if self.size > self.room or self.room > 1 << 47:
            raise Unreadable("no block at %#x: %d bytes in use of %d" % (self.address, self.size, self.room))

    def table_name(self):
        """The symbol of the block's table of operations, or None."""
        return symbol_at(self.table)

    def type_name(self):
        """What the block holds, as far as its table tells."""
        name = self.table_name()
        if name is None:
            return "block of the unknown type %#x" % self.table
        if name == POOLED_STRING:
            return "pooled string"
        return short_name(re.sub(r"::_vtbl$|_vtbl(?=_\w+$)", "", name))

    def count(self):
        return "static" if self.handles == 0 else counted(self.handles, "handle")

    def object(self, payload_type):
        """The payload as a value of a type; None if it is too small for one."""
        if payload_type.sizeof > self.size:
            return None
        return self.payload.cast(payload_type.pointer()).dereference()


def block_of(handle):
    """The block that a handle holds, or None."""
    pointer = field(handle, "m_pMH")
    return Block(pointer) if int(pointer) != 0 else None


def _argument(template, table_name):
    """The template argument of the block type of a table: `CPObject<T>::_vtbl` is that of the type `T`."""
    found = re.match(r"ORVA::Buffers::%s<(.*)>::_vtbl$" % template, table_name)
    if found is None:
        return None
    try:
        return gdb.lookup_type(table_name[:-len("::_vtbl")]).template_argument(0)
    except (gdb.error, RuntimeError):
        return type_named(found[1].strip())


def _payload_type(table_name):
    """The type of the one object in the blocks of a table, or None."""
    argument = _argument("CPI?Object", table_name)
    if argument is not None:
        return argument
    found = re.match(r"ORVA::Threading::_vtbl(_c\w+)$", table_name)
    if found is not None:
        return type_named("ORVA::Threading::" + found[1])
    found = re.match(r"ORVA::Threading::CPThreadContext(<.*>)::_vtbl$", table_name)
    if found is not None:
        return type_named("ORVA::Threading::CThreadWrapper" + found[1])
    return None


class View:
    """What a block shows of itself."""

    hint = None

    def __init__(self, block):
        self.block = block

    def name(self):
        return self.block.type_name()

    def extent(self):
        block = self.block
        return "%s%s" % (counted(block.size, "byte"), "" if block.size == block.room else " of %d" % block.room)

    def summary(self):
        return "%s (%s, %s)" % (self.name(), self.extent(), self.block.count())

    def contents(self):
        return ()


class ObjectView(View):
    """One object."""

    def __init__(self, block, payload_type):
        super().__init__(block)
        self.payload_type = payload_type

    def contents(self):
        payload = self.block.object(self.payload_type)
        if payload is not None:
            yield "object", payload


class ElementsView(View):
    """Elements of one type in a row."""

    hint = "array"

    def __init__(self, block, element_type, name=None):
        super().__init__(block)
        self.element_type = element_type
        self.given_name = name

    def name(self):
        return self.given_name or super().name()

    def summary(self):
        size = self.element_type.sizeof
        count, room = self.block.size // size, self.block.room // size
        return "%s of %d (%s%s)" % (self.name(), count, "" if room == count else "room for %d, " % room,
                                    self.block.count())

    def contents(self):
        first = self.block.payload.cast(self.element_type.pointer())
        for index in range(self.block.size // self.element_type.sizeof):
            yield "[%d]" % index, (first + index).dereference()


class TextView(View):
    """Characters up to a terminator."""

    def __init__(self, block, unit):
        super().__init__(block)
        self.unit = unit

    def contents(self):
        room = self.block.size // self.unit
        most = min(room, limit(MOST_CHARACTERS))
        data, is_cut = up_to_terminator(int(self.block.payload), self.unit, most)
        is_cut = is_cut and most < room
        yield "text", (quoted_bytes(data, "utf-8", "", is_cut) if self.unit == 1 else
                       quoted_units(data, self.unit, "L", is_cut))


class BytesView(View):
    """Bytes of no type."""

    def contents(self):
        shown = min(self.block.size, limit(MOST_BYTES))
        if shown:
            data = read(int(self.block.payload), shown)
            yield "bytes", data.hex(" ") + (" ..." if shown < self.block.size else "")


def view_of(block, element_type=None, name=None):
    """How a block is shown; `element_type` is that of the elements of plain memory, where the handle tells it."""
    table_name = block.table_name()
    if table_name is None:
        return View(block)
    if table_name == "ORVA::Buffers::CPPlainMemory::_vtbl":
        if element_type is None or element_type.sizeof == 0:
            return BytesView(block)
        return ElementsView(block, element_type, name)
    text = re.match(r"ORVA::Buffers::CPCString<(.*)>::_vtbl$", table_name)
    if text is not None:
        return TextView(block, 4 if text[1] == "wchar_t" else 1)
    try:
        element = _argument("CPObjectVector", table_name)
        if element is not None:
            return ElementsView(block, element) if element.sizeof else View(block)
        payload = _payload_type(table_name)
        return View(block) if payload is None else ObjectView(block, payload)
    except Unreadable:
        return View(block)  # the symbol names a type that there is no debug information about


class HandlePrinter(Composite):
    """A handle on a block. The block tells its type, whatever the handle's."""

    def __init__(self, value):
        super().__init__(value)
        self._view = None

    def view(self):
        if self._view is None:
            block = block_of(self.value)
            if block is not None:
                self._view = self.make_view(block)
        return self._view

    def make_view(self, block):
        return view_of(block)

    def summary(self):
        view = self.view()
        return "null" if view is None else view.summary()

    def hint(self):
        return None if self.view() is None else self._view.hint

    def contents(self):
        view = self.view()
        if view is not None:
            yield from view.contents()
        if self.hint() != "array":
            yield from self.own_fields()


class PlainVectorPrinter(HandlePrinter):
    """A vector in plain memory, whose block does not tell what it holds."""

    def make_view(self, block):
        vector = plain_type(self.value.type)
        while not (vector.name or "").startswith("ORVA::Buffers::CPPlainVector<"):
            vector = vector.fields()[0].type.strip_typedefs()
        return view_of(block, vector.template_argument(0), short_name(vector.name))


class InterfacePrinter(HandlePrinter):
    """A handle on a block that also knows where in the object an interface stands."""

    def summary(self):
        if self.view() is None:
            return "null"
        name, offset = short_name(plain_type(self.value.type).name), int(field(self.value, "lOffset"))
        return "%s at %d in %s" % (name, offset, super().summary())


class SortedPrinter(HandlePrinter):
    """An array of strings, which may be kept in order."""

    def summary(self):
        text = super().summary()
        return "sorted " + text if int(field(self.value, "m_sorted")) else text
