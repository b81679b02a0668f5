"""Summaries of libORVA's types for lldb: `command script import tools/lldb/orva.py`.

They show what tools/gdb shows in one line; what stands in braces there is lldb's own view here. They read memory and
call no function of the process.
"""
import re

import lldb

MOST_CHARACTERS = 1 << 10


def _described(describe):
    """A summary function that says what it cannot read instead of throwing."""

    def summary(value, _):
        try:
            return describe(value.GetNonSyntheticValue())
        except Exception as error:  # pylint: disable=broad-except
            return "<cannot be read: %s>" % error

    summary.__name__ = describe.__name__
    summary.__doc__ = describe.__doc__
    return summary


def _member(value, *path):
    for name in path:
        value = value.GetChildMemberWithName(name)
        if not value.IsValid():
            raise ValueError("no field " + name)
    return value


def _number(value, *path):
    """The number in a field: in the value itself, or in the one field of a class around it, such as an atomic one."""
    value = _member(value, *path)
    while value.GetNumChildren() > 0 and value.GetType().IsAggregateType():
        value = value.GetChildAtIndex(0)
    error = lldb.SBError()
    number = value.GetValueAsUnsigned(error)
    if error.Fail():
        raise ValueError(error.GetCString())
    return number


def _read(value, address, size):
    error = lldb.SBError()
    data = value.GetProcess().ReadMemory(address, size, error)
    if error.Fail():
        raise ValueError(error.GetCString())
    return data


def _symbol(value, address):
    """The name of the object at an address, or an empty text."""
    return value.GetTarget().ResolveLoadAddress(address).GetSymbol().GetName() or ""


def _counted(number, thing):
    return "%s %s%s" % (number or "no", thing, "" if number == 1 else "s")


def _handles(header):
    count = _number(header, "lRefCnt")
    return _counted(count, "handle") if count else "static"


def _header(value):
    """The header of a handle's block, or None."""
    pointer = _member(value, "m_pMH")
    return pointer.Dereference() if pointer.GetValueAsUnsigned() else None


def _type_name(value, header):
    table = _number(header, "pVTbl")
    name = _symbol(value, table)
    if not name:
        return "block of the unknown type %#x" % table
    return re.sub(r"\bORVA::(?:[A-Z]\w*::)?|::_vtbl$|_vtbl(?=_\w+$)", "", name)


def _record_text(value, record):
    length, address = _number(record, "info", "len"), _number(record, "pData")
    count = min(length, MOST_CHARACTERS)
    if _number(record, "pOwned") == address:
        count = min(count, 10)  # a search key of other than wide text has a copy of its first characters
    text = _read(value, address, count * 4).decode("utf-32-le", "replace") if count else ""
    return 'L"%s"%s (%s' % (text, "" if count == length else "...", _counted(length, "character"))


def _string(value, header):
    symbol = _symbol(value, header.GetLoadAddress())
    if symbol.endswith("Constants::null_record"):
        return "null"
    record_type = value.GetTarget().FindFirstType("ORVA::String::tagSTRINGPOOLRECORD")
    if not record_type.IsValid():
        raise ValueError("no debug information about records")
    address = header.GetLoadAddress() + header.GetByteSize()
    record = value.CreateValueFromAddress("record", address, record_type)
    return "%s, %s)" % (_record_text(value, record), _handles(header))


@_described
def handle(value):
    """A handle on a block, or a string."""
    header = _header(value)
    if header is None:
        return "null"
    if _symbol(value, _number(header, "pVTbl")).endswith("poolstring_vtbl"):
        return _string(value, header)
    size, room = _number(header, "uSize"), _number(header, "uAllocSize")
    if size > room:
        raise ValueError("%d bytes in use of %d" % (size, room))
    extent = _counted(size, "byte") + ("" if size == room else " of %d" % room)
    return "%s (%s, %s)" % (_type_name(value, header), extent, _handles(header))


@_described
def record(value):
    """The record of a string."""
    return "%s, age %d)" % (_record_text(value, value), _number(value, "age"))


@_described
def identifier(value):
    """An identifier in its canonical form."""
    uid = value.GetChildMemberWithName("m_uid")
    uid = uid if uid.IsValid() else value
    rest = _member(uid, "Data4").GetData()
    digits = "".join("%02X" % rest.GetUnsignedInt8(lldb.SBError(), at) for at in range(8))
    return "%08X-%04X-%04X-%s-%s" % (_number(uid, "Data1"), _number(uid, "Data2"), _number(uid, "Data3"), digits[:4],
                                     digits[4:])


@_described
def rational(value):
    """A fraction."""
    parts = [_member(value, name).GetValueAsSigned() for name in ("m_numerator", "m_denominator")]
    return "%d/%d%s" % (*parts, "" if parts[1] else " (not normal)")


@_described
def event(value):
    """An event, or several."""
    states = ("eEventInvalid", "eEventReset", "eEventSignaled", "eEventPulse")
    state, signal = _number(value, "m_state"), _number(value, "m_value")
    name = states[state] if state < len(states) else "state %d" % state
    waiters = _header(_member(value, "m_waiters"))
    entries = 0 if waiters is None else _number(waiters, "uSize") // 8
    return "%s, value %d, %s in the queue" % (name, signal - (1 << 64) if signal >> 63 else signal,
                                              _counted(entries, "place"))


@_described
def lock(value):
    """A mutex, or a lock that its holder may enter again."""
    if not _number(value, "m_lock", "is_locked"):
        return "free"
    if not _member(value, "m_lock").GetChildMemberWithName("owner").IsValid():
        return "held"
    owner, count = _number(value, "m_lock", "owner"), _number(value, "m_lock", "count")
    return "held by thread %#x, entered %s" % (owner, _counted(count, "time"))


@_described
def table(value):
    """A hash table."""
    return _counted(_number(value, "uBuckets"), "bucket")


SUMMARIES = {
    handle: r"^ORVA::(Buffers::CP(ObjectMemory|I?Object<.*>|ObjectVector<.*>|OMVector|PlainMemory|PlainVector<.*>|"
            r"CString<.*>|Interface<.*>)|String::(_cppoolstring|CPPoolString|CPPoolStringArray)|"
            r"Threading::CP(Event|MultipleEvent|Mutex|CriticalSection|RWInterlock|Thread|ThreadContext<.*>))$",
    record: r"^ORVA::String::tagSTRINGPOOLRECORD$",
    identifier: r"^(_nqfUID|ORVA::NQF::cnqfuid)$",
    rational: r"^ORVA::Math::CRational$",
    event: r"^ORVA::Threading::_c(Multiple)?Event$",
    lock: r"^ORVA::Threading::_c(Mutex|CriticalSection)$",
    table: r"^ORVA::Lookup::CPOMKeyTable<.*>$|^ORVA::String::(CCase(Ins|S)ensitiveHash|PooledStrings)$",
}


def __lldb_init_module(debugger, _):
    """What lldb calls when it imports this."""
    for function, names in SUMMARIES.items():
        debugger.HandleCommand('type summary add -w libORVA -e -x "%s" -F %s.%s' % (names, __name__, function.__name__))
    debugger.HandleCommand("type category enable libORVA")
