"""Events and locks, and the threads that have to do with them."""
import gdb

from .blocks import block_of
from .memory import Unreadable, counted, field, read, scalar
from .printer import Composite, Printer

MOST_STRAYS = 10000


def thread_of(handle):
    """Who the thread with this `pthread_t` is, for a person."""
    number = int(handle)
    try:
        thread = gdb.selected_inferior().thread_from_handle(handle)
    except (gdb.error, AttributeError):
        thread = None
    # Without the library that knows threads, or when the thread has ended, there is but its number.
    return "thread %#x" % number if thread is None else _described(thread)


def _system_id(thread):
    process, thread_of_process, _ = thread.ptid
    return thread_of_process or process


def _described(thread):
    return "thread %d (LWP %d)" % (thread.num, _system_id(thread))


def _system_owner(mutex):
    """Who holds a mutex of the system, or None. Where the system's fields are others, nobody is said to."""
    try:
        owner = int(mutex["__data"]["__owner"])
    except gdb.error:
        return None
    if owner == 0:
        return None
    for thread in gdb.selected_inferior().threads():
        if owner == _system_id(thread):
            return _described(thread)
    return "LWP %d" % owner


def _times(count):
    return "once" if count == 1 else "twice" if count == 2 else "%d times" % count


class MutexPrinter(Printer):
    """A lock that does not note who holds it."""

    def summary(self):
        lock = field(self.value, "m_lock")
        try:
            return "held" if int(field(lock, "is_locked")) else "free"
        except Unreadable:
            owner = _system_owner(field(lock, "m"))
            return "free" if owner is None else "held by " + owner


def critical_section(value):
    lock = field(value, "m_lock")
    if not int(field(lock, "is_locked")):
        return "free"
    return "held by %s, entered %s" % (thread_of(field(lock, "owner")), _times(int(field(lock, "count"))))


class CriticalSectionPrinter(Printer):
    """A lock that its holder may enter again."""

    def summary(self):
        return critical_section(self.value)


class InterlockPrinter(Printer):
    """A lock for many readers or one writer."""

    def summary(self):
        state = field(field(self.value, "m_lock"), "state")
        readers, writer = int(field(state, "shared_count")), field(self.value, "m_writer")
        if not int(field(state, "exclusive")):
            return "free" if readers == 0 else "held by %s" % counted(readers, "reader")
        nested = int(field(self.value, "m_nested"))
        counts = ((nested >> 16, "write"), (nested & 0xFFFF, "read"))
        inner = [counted(count, thing) for count, thing in counts if count]
        # A writer has the lock for some instructions before it notes that it has.
        who = thread_of(writer) if int(scalar(writer)) else "a writer"
        return "held for writing by %s%s" % (who, " with %s inside" % " and ".join(inner) if inner else "")


def _filled_places(vector):
    """How many pointers of a plain vector are not null."""
    block = block_of(vector)
    if block is None:
        return 0
    size = gdb.lookup_type("void").pointer().sizeof
    data = read(int(block.payload), block.size)
    return sum(1 for at in range(0, len(data), size) if any(data[at:at + size]))


class EventPrinter(Composite):
    """An event with its state, its value, and how many wait."""

    def state(self):
        return str(scalar(field(self.value, "m_state"))).rsplit("::", 1)[-1]

    def waiters(self):
        count = _filled_places(field(self.value, "m_waiters"))
        strays = self.strays()
        return counted(count, "waiter") + (" and %d without a place" % strays if strays else "")

    def strays(self):
        """Waiters that have lost their place in the queue."""
        count = 0
        try:
            waiter = field(self.value, "m_strays")
            while int(waiter) != 0 and count < MOST_STRAYS:
                count += 1
                waiter = field(waiter.dereference(), "next_stray")
        except (Unreadable, gdb.error):
            pass
        return count

    def event(self):
        value = int(scalar(field(self.value, "m_value")))
        listeners = _filled_places(field(self.value, "m_listeners"))
        holder = _system_owner(field(field(self.value, "m_lock"), "m"))
        parts = [self.state(), "value %d" % (value - (1 << 64) if value >> 63 else value), self.waiters()]
        if listeners:
            parts.append(counted(listeners, "listener"))
        if holder is not None:
            parts.append("lock held by " + holder)
        return ", ".join(parts)

    def summary(self):
        return self.event()

    def contents(self):
        yield from self.own_fields()


class MultipleEventPrinter(EventPrinter):
    """An event that stands for several."""

    def summary(self):
        is_barrier = int(scalar(field(self.value, "m_barrier")))
        return "%s, %s" % ("all of its events" if is_barrier else "any of its events", self.event())

    def contents(self):
        yield "events", field(self.value, "m_events")
        yield from self.own_fields()
