"""The command `info orva-pool`: reads memory, and calls no function of the inferior."""
import heapq

import gdb

from .memory import Layout, Unreadable, field, reason, scalar, type_named
from .memory import read as read_memory
from .printer import unreadable
from .strings import record_text, record_type
from .tables import HEADER, Walk
from .waiting import critical_section

POOL_TABLE = "ORVA::String::g_sensitive_table"
POOL_LOCK = "ORVA::String::g_pool_lock"

# The pool's own handles on a string: one in each of its tables.
HANDLES_OF_THE_POOL = 2


class NoPool(Exception):
    """There is no pool to tell about; the text says why."""


def pool_table():
    """The table that owns the strings."""
    symbol = gdb.lookup_global_symbol(POOL_TABLE)
    if symbol is None:
        raise NoPool("There is no libORVA here, or none with debug information, which tells where its pool is.")
    return symbol.value()


class Survey:
    """What the pool holds, by one walk through the table that owns the strings."""

    def __init__(self, table, most):
        header, record = type_named(HEADER), record_type()
        counts, ages = Layout(header, "lRefCnt", "uSize"), Layout(record, "age")
        self.strings = self.bytes = self.in_use = self.seen_unused = 0
        walk = Walk(table)
        self.is_built = walk.buckets != 0
        self.damages = walk.damages
        largest = []
        for _, block in walk.entries():
            try:
                data = read_memory(block, header.sizeof + record.sizeof)
            except Unreadable as error:
                self.damages.append("a string: %s" % error)
                continue
            handles, size = counts.of(data)
            age, = ages.of(data, header.sizeof)
            self.strings += 1
            self.bytes += size
            self.in_use += handles > HANDLES_OF_THE_POOL
            self.seen_unused += age != 0
            if len(largest) < most:
                heapq.heappush(largest, (size, block, handles))
            elif most:
                heapq.heappushpop(largest, (size, block, handles))
        self.largest = sorted(largest, key=lambda each: (-each[0], each[1]))
        self.alone = self._alone(table)

    @staticmethod
    def _alone(table):
        try:
            return "%d" % int(scalar(field(table, "m_alone")))
        except Unreadable:
            return "not known"


def _lock_state():
    """What to know about the pool's lock, or an empty text."""
    try:
        block = field(gdb.lookup_global_symbol(POOL_LOCK).value(), "m_pMH")
        lock = (block + 1).cast(type_named("ORVA::Threading::_cCriticalSection").pointer()).dereference()
        state = critical_section(lock)
    except (AttributeError, gdb.error, Unreadable):
        return ""
    return "" if state == "free" else "The pool's lock is %s: what follows may be in the middle of a change.\n" % state


def _row(size, block, handles):
    header = gdb.Value(block).cast(type_named(HEADER).pointer())
    record = (header + 1).cast(record_type().pointer()).dereference()
    try:
        text, length = record_text(record, size)
    except (Unreadable, gdb.error) as error:
        text, length = unreadable(error), "-"
    return "%12d  %10s  %8d  %s\n" % (size, length, handles, text)


def report(most):
    """The text of the command."""
    if gdb.selected_inferior().pid == 0:
        raise NoPool("There is no process and no core file.")
    table = pool_table()
    text = _lock_state()
    survey = Survey(table, most)
    if not survey.is_built:
        return "The pool is not built yet.\n"
    text += ("strings             %12d\n"
             "bytes               %12d\n"
             "in use              %12d\n"
             "seen unused         %12d\n"
             "alone in one table  %12s\n" %
             (survey.strings, survey.bytes, survey.in_use, survey.seen_unused, survey.alone))
    if survey.largest:
        text += "       bytes  characters   handles  text\n"
        text += "".join(_row(*each) for each in survey.largest)
    for damage in survey.damages[:10]:
        text += "damaged: %s\n" % damage
    if len(survey.damages) > 10:
        text += "damaged: %d more\n" % (len(survey.damages) - 10)
    return text


class InfoPool(gdb.Command):
    """Show what the string pool of libORVA holds.

Usage: info orva-pool [COUNT]
Prints the pool's totals and its COUNT largest strings, 10 without a number, of a live process or a core file. It reads
memory and calls no function of the program.

strings             texts in the pool
bytes               their blocks' bytes in use, as CStringPool::GetSize() adds them up
in use              those with handles other than the pool's two
seen unused         those that the last collection to pass them found without such handles
alone in one table  those that the case-insensitive table could not take for want of memory"""

    def __init__(self):
        super().__init__("info orva-pool", gdb.COMMAND_STATUS)

    def invoke(self, argument, from_tty):
        del from_tty
        try:
            most = int(argument) if argument.strip() else 10
        except ValueError:
            raise gdb.GdbError("How many strings? \"%s\" is no number." % argument) from None
        try:
            gdb.write(report(max(most, 0)))
        except (NoPool, Unreadable, gdb.error) as error:
            raise gdb.GdbError(reason(error)) from None
