"""Hash tables, and the walk over their entries by plain reads of memory."""
import gdb

from .memory import (Layout, Unreadable, counted, field, offset_and_size, plain_type, read, scalar, short_name,
                     type_named, unsigned)
from .printer import Composite

HEADER = "ORVA::Buffers::tagCPOMEMHEADER"
HANDLE = "ORVA::Buffers::CPObjectMemory"
TABLE = "ORVA::Lookup::CBaseHashTable"


class Walk:
    """Goes through the entries of a table, bucket by bucket. A bucket is read as a whole."""

    def __init__(self, table):
        self.buckets = int(scalar(field(table, "uBuckets")))
        self._index = int(field(field(table, "cpIndex"), "m_pMH"))
        self._sizes = Layout(type_named(HEADER), "uAllocSize", "uSize")
        self._handle = type_named(HANDLE).sizeof
        entry = type_named(TABLE + "::HASHENTRY")
        self._entry = entry.sizeof
        self._key, self._key_size = offset_and_size(entry, "uKey")
        self._item = offset_and_size(entry, "cpItem")[0]
        # What could not be read, one text for each bucket.
        self.damages = []

    def _payload(self, block):
        """The bytes in use of a block."""
        room, size = self._sizes.of(read(block, self._sizes.size))
        if size > room:
            raise Unreadable("no block at %#x: %d bytes in use of %d" % (block, size, room))
        return read(block + self._sizes.size, size)

    def entries(self):
        """The pairs of each entry's key and the address of its item's block."""
        if self._index == 0:
            return
        index = self._payload(self._index)
        for at in range(0, min(len(index), self.buckets * self._handle), self._handle):
            bucket = unsigned(index, at, self._handle)
            if bucket == 0:
                continue
            try:
                data = self._payload(bucket)
            except Unreadable as error:
                self.damages.append("bucket %d: %s" % (at // self._handle, error))
                continue
            for start in range(0, len(data) - self._entry + 1, self._entry):
                yield (unsigned(data, start + self._key, self._key_size),
                       unsigned(data, start + self._item, self._handle))


class TablePrinter(Composite):
    """A hash table with its number of items."""

    def hint(self):
        return "map"

    def summary(self):
        walk = Walk(self.value)
        items = sum(1 for _ in walk.entries())
        damages = "".join("; " + damage for damage in walk.damages[:3])
        return "%s of %s, %s%s" % (short_name(plain_type(self.value.type).name), counted(walk.buckets, "bucket"),
                                   counted(items, "item"), damages)

    def contents(self):
        handle = type_named(HANDLE)
        for key, block in Walk(self.value).entries():
            yield "key", "%#x" % key
            yield "item", gdb.Value(block.to_bytes(handle.sizeof, "little"), handle)
