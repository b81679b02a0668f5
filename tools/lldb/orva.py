"""Views of libORVA's types for lldb: `command script import tools/lldb/orva.py`.

A value's line says what tools/gdb says in front of the braces there; elements and objects of blocks are its children. They
read memory and debug information, and call no function of the process.
"""
import re

import lldb

MOST_CHARACTERS = 1 << 8
MOST_BYTES = 1 << 6
MOST_CHILDREN = 1 << 16
POOLED_STRING = "ORVA::String::poolstring_vtbl"
CONSTANTS = {"null_record": "null", "empty_record": 'L""', "true_record": 'L"true" (constant)',
             "false_record": 'L"false" (constant)'}

ESCAPES = {0: "\\0", 7: "\\a", 8: "\\b", 9: "\\t", 10: "\\n", 11: "\\v", 12: "\\f", 13: "\\r", 34: '\\"', 92: "\\\\"}


class Unreadable(Exception):
    """What is to be shown cannot be read; the text says why, for a person."""


def _described(describe):
    """A summary function that says what it cannot read instead of throwing."""

    def summary(value, _):
        try:
            return describe(_object(value))
        except Exception as error:  # pylint: disable=broad-except
            return "<cannot be read: %s>" % error

    summary.__name__ = describe.__name__
    summary.__doc__ = describe.__doc__
    return summary


# Fields and memory


def _object(value):
    """The value as it lies in memory, behind a reference if it is one."""
    value = value.GetNonSyntheticValue()
    if not value.GetType().IsReferenceType():
        return value
    # lldb follows no reference to a class that the program's debug information leaves out.
    value_type = _with_fields(value, value.GetType().GetDereferencedType())
    return value.CreateValueFromAddress("object", value.GetValueAsUnsigned(), value_type)


def _is_class(value_type):
    return bool(value_type.GetTypeClass() & (lldb.eTypeClassStruct | lldb.eTypeClassClass))


def _has_fields(value_type):
    return value_type.GetNumberOfFields() > 0 or value_type.GetNumberOfDirectBaseClasses() > 0


def _type_named(value, name):
    """The class of a name with all of its fields, or None."""
    return next((each for each in value.GetTarget().FindTypes(name) if _has_fields(each)), None)


def _with_fields(value, value_type):
    """The class with all of its fields: a program's debug information may leave out those of a class of the library."""
    plain = value_type.GetCanonicalType().GetUnqualifiedType()
    if not _is_class(plain) or _has_fields(plain):
        return value_type
    return _type_named(value, plain.GetName()) or value_type


def _member(value, *path):
    """The field of a name, of the value's class or of the first of its bases that has one."""
    for name in path:
        value, owner = _field(value, name), value.GetTypeName()
        if value is None:
            raise Unreadable("%s has no field %s, or no debug information" % (_short(owner), name))
    return value


def _field(value, name):
    if value.GetType().IsPointerType():
        value = value.Dereference()
    elif not _has_fields(value.GetType().GetCanonicalType()):
        value = value.CreateValueFromAddress("value", value.GetLoadAddress(), _with_fields(value, value.GetType()))
    field = value.GetChildMemberWithName(name)
    if field.IsValid():
        return field
    value_type = value.GetType().GetCanonicalType()
    for at in range(value_type.GetNumberOfDirectBaseClasses()):
        base = value_type.GetDirectBaseClassAtIndex(at)
        place = value.GetLoadAddress() + base.GetOffsetInBytes()
        field = _field(value.CreateValueFromAddress("base", place, base.GetType()), name)
        if field is not None:
            return field
    return None


def _number(value, *path):
    """The number in a field: in the value itself, or in the one field of a class around it, such as an atomic one."""
    value = _member(value, *path)
    while _is_class(value.GetType().GetCanonicalType()) and value.GetNumChildren() > 0:
        value = value.GetChildAtIndex(0)
    error = lldb.SBError()
    number = value.GetValueAsUnsigned(error)
    if error.Fail():
        raise Unreadable(error.GetCString())
    return number


def _read(value, address, size):
    if size == 0:
        return b""
    error = lldb.SBError()
    data = value.GetProcess().ReadMemory(address, size, error)
    if error.Fail() or len(data) != size:
        raise Unreadable("cannot access memory at address %#x" % address)
    return data


def _symbol(value, address):
    """The name of the object at an address, or an empty text."""
    return value.GetTarget().ResolveLoadAddress(address).GetSymbol().GetName() or ""


# Words for a person


def _short(name):
    return re.sub(r"\bORVA::(?:[A-Z]\w*::)?|^const |\s*&$", "", name or "").replace(" >", ">")


def _type_name_of(value):
    return _short(value.GetType().GetCanonicalType().GetUnqualifiedType().GetName())


def _counted(number, thing):
    return "%s %s%s" % (number or "no", thing, "" if number == 1 else "s")


def _times(count):
    return "once" if count == 1 else "twice" if count == 2 else "%d times" % count


def _quoted(codes, prefix="", is_cut=False):
    shown = (ESCAPES.get(code) or (chr(code) if code < 0x110000 and chr(code).isprintable() else
                                   "\\x%02X" % code if code < 0x100 else "\\u%04X" % code if code < 0x10000 else
                                   "\\U%08X" % code) for code in codes)
    return '%s"%s"%s' % (prefix, "".join(shown), "..." if is_cut else "")


def _units(data, size):
    return [int.from_bytes(data[at:at + size], "little") for at in range(0, len(data), size)]


# Blocks and strings


class Block:
    """The header of a block, checked as far as it can be."""

    def __init__(self, pointer):
        self.address = pointer.GetValueAsUnsigned()
        if self.address % 8:
            raise Unreadable("no block begins at %#x" % self.address)
        self.header = pointer.Dereference()
        _read(pointer, self.address, self.header.GetByteSize())
        self.handles, self.table = _number(self.header, "lRefCnt"), _number(self.header, "pVTbl")
        self.size, self.room = _number(self.header, "uSize"), _number(self.header, "uAllocSize")
        if self.size > self.room or self.room > 1 << 47:
            raise Unreadable("no block at %#x: %d bytes in use of %d" % (self.address, self.size, self.room))
        self.payload = self.address + self.header.GetByteSize()
        self.table_name = _symbol(self.header, self.table)

    def count(self):
        return _counted(self.handles, "handle") if self.handles else "static"

    def value(self, name, value_type, offset=0):
        return self.header.CreateValueFromAddress(name, self.payload + offset, value_type)


def _block(value):
    """The block that a handle holds, or None."""
    pointer = _member(value, "m_pMH")
    return Block(pointer) if pointer.GetValueAsUnsigned() else None


def _payload_type(value, block):
    """What the blocks of a handle hold: the name of its template and the type of the elements, or of the object."""
    lock = re.match(r"ORVA::Threading::_vtbl(_c\w+)$", block.table_name)
    if lock:
        return lock[1], _type_named(value, "ORVA::Threading::" + lock[1])
    value_type = value.GetType().GetCanonicalType().GetUnqualifiedType()
    while value_type.IsValid():
        found = re.match(r"ORVA::Buffers::(CPI?Object|CPObjectVector|CPPlainVector)<", value_type.GetName() or "")
        if found:
            return found[1], value_type.GetTemplateArgumentType(0)
        value_type = value_type.GetDirectBaseClassAtIndex(0).GetType().GetCanonicalType()
    return None, None


def _block_text(value, block):
    name = re.sub(r"::_vtbl$|_vtbl(?=_\w+$)", "", block.table_name) or "block of the unknown type %#x" % block.table
    template, payload = _payload_type(value, block)
    if template in ("CPObjectVector", "CPPlainVector") and payload.GetByteSize():
        size = payload.GetByteSize()
        count, room = block.size // size, block.room // size
        if template == "CPPlainVector":  # whose block does not tell what it holds
            name = _type_name_of(value)
        return "%s of %d (%s%s)" % (_short(name), count, "" if room == count else "room for %d, " % room, block.count())
    extent = _counted(block.size, "byte") + ("" if block.size == block.room else " of %d" % block.room)
    return "%s (%s, %s)%s" % (_short(name), extent, block.count(), _contents(block, _short(name)))


def _contents(block, name):
    """The bytes of plain memory, or a text."""
    if name == "CPPlainMemory" and block.size:
        data = _read(block.header, block.payload, min(block.size, MOST_BYTES))
        return ": " + data.hex(" ") + (" ..." if len(data) < block.size else "")
    if name.startswith("CPCString<"):
        size = 4 if name == "CPCString<wchar_t>" else 1
        units, is_cut = _up_to_terminator(block.header, block.payload, size, block.size // size)
        return ": " + _quoted(units, "L" if size == 4 else "", is_cut)
    return ""


def _up_to_terminator(value, address, size, most):
    """The units of `size` bytes before a 0, and whether there are more than are shown.

    Unit by unit, since what stands behind the terminator may be out of reach.
    """
    units = []
    while len(units) < min(most, MOST_CHARACTERS):
        unit = int.from_bytes(_read(value, address + len(units) * size, size), "little")
        if unit == 0:
            return units, False
        units.append(unit)
    return units, len(units) < most


def _record_text(value):
    """The text of a record and, without the parenthesis that ends it, its length."""
    length, address = _number(value, "info", "len"), _number(value, "pData")
    if address == 0:
        raise Unreadable("a record without text")
    count = min(length, MOST_CHARACTERS)
    if _number(value, "pOwned") == address:
        count = min(count, 10)  # a search key of other than wide text has a copy of its first characters
    text = _quoted(_units(_read(value, address, count * 4), 4), "L", count < length)
    return "%s (%s" % (text, _counted(length, "character"))


def _string(block):
    constant = CONSTANTS.get(_symbol(block.header, block.address).rpartition("::")[2])
    if block.handles == 0 and constant:
        return constant
    record_type = _type_named(block.header, "ORVA::String::tagSTRINGPOOLRECORD")
    if record_type is None:
        raise Unreadable("no debug information about records")
    return "%s, %s)" % (_record_text(block.value("record", record_type)), block.count())


@_described
def handle(value):
    """A handle on a block, or a string."""
    block = _block(value)
    if block is None:
        return "null"
    if block.table_name == POOLED_STRING:
        return _string(block)
    text = _block_text(value, block)
    name = _type_name_of(value)
    if name.startswith("CPInterface<"):
        return "%s at %d in %s" % (name, _number(value, "lOffset"), text)
    is_sorted = name == "CPPoolStringArray" and _number(value, "m_sorted")
    return "sorted " + text if is_sorted else text


class Payload:
    """The children of a typed handle: its elements, or its object."""

    def __init__(self, value, _):
        self.value = value
        self.children = []

    def update(self):
        try:
            self.children = list(self._all(_object(self.value)))
        except Exception:  # pylint: disable=broad-except
            self.children = []  # the summary says why

    @staticmethod
    def _all(value):
        block = _block(value)
        template, payload = _payload_type(value, block) if block else (None, None)
        size = payload.GetByteSize() if payload else 0
        if size == 0 or size > block.size:
            return
        if not template.endswith("Vector"):
            yield block.value("object", payload)
            return
        for at in range(min(block.size // size, MOST_CHILDREN)):
            yield block.value("[%d]" % at, payload, at * size)

    def num_children(self):
        return len(self.children)

    def has_children(self):
        return bool(self.children)

    def get_child_at_index(self, index):
        return self.children[index] if 0 <= index < len(self.children) else None

    def get_child_index(self, name):
        return next((at for at, child in enumerate(self.children) if child.GetName() == name), -1)


@_described
def record(value):
    """The record of a string."""
    kept = ", UTF-8 form kept" if _number(value, "pOwned") else ""
    return "%s, age %d%s)" % (_record_text(value), _number(value, "age"), kept)


@_described
def holder(value):
    """Text that is held in one of the encodings."""
    pointer = _member(value, "pText")
    address, size = pointer.GetValueAsUnsigned(), pointer.GetType().GetPointeeType().GetByteSize()
    if address == 0:
        return "null"
    # The holders' lengths are not all those of the text, so its terminator is looked for.
    units, is_cut = _up_to_terminator(value, address, size, 1 << 60)
    if size > 1:
        return _quoted(units, "L" if size == 4 else "u", is_cut)
    is_utf8 = "unsigned" in pointer.GetType().GetPointeeType().GetName()
    text = bytes(units).decode("utf-8" if is_utf8 else "cp1252", "replace")
    return _quoted(map(ord, text), "u8" if is_utf8 else "", is_cut)


# Values


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
    """A fraction as it stands."""
    parts = [_member(value, name).GetValueAsSigned() for name in ("m_numerator", "m_denominator")]
    return "%d/%d%s" % (*parts, "" if parts[1] else " (not normal)")


@_described
def interface(value):
    """A handle on an interface of a component."""
    word = _number(value, "m_word")
    if word in (0, 1):
        return "null" if word == 1 else "null (a creation failed)"
    return "%s on %#x, %s" % (_type_name_of(value), word & ~1, "resolved" if word & 1 else "raw")


# Events, locks, tables


def _filled_places(value):
    """How many pointers of a plain vector are not null."""
    block = _block(value)
    return 0 if block is None else sum(1 for place in _units(_read(value, block.payload, block.size), 8) if place)


@_described
def event(value):
    """An event, or several."""
    states = ("eEventInvalid", "eEventReset", "eEventSignaled", "eEventPulse")
    state, signal = _number(value, "m_state"), _number(value, "m_value")
    parts = [states[state] if state < len(states) else "state %d" % state,
             "value %d" % (signal - (1 << 64) if signal >> 63 else signal),
             _counted(_filled_places(_member(value, "m_waiters")), "waiter")]
    listeners = _filled_places(_member(value, "m_listeners"))
    if listeners:
        parts.append(_counted(listeners, "listener"))
    if _type_name_of(value) == "_cMultipleEvent":
        parts.insert(0, "%s of its events" % ("all" if _number(value, "m_barrier") else "any"))
    return ", ".join(parts)


@_described
def lock(value):
    """A mutex, or a lock that its holder may enter again."""
    if not _number(value, "m_lock", "is_locked"):
        return "free"
    if _field(_member(value, "m_lock"), "owner") is None:
        return "held"
    owner, count = _number(value, "m_lock", "owner"), _number(value, "m_lock", "count")
    return "held by thread %#x, entered %s" % (owner, _times(count))  # as pthread_self() tells it there


@_described
def interlock(value):
    """A lock for many readers or one writer."""
    state = _member(value, "m_lock", "state")
    readers = _number(state, "shared_count")
    if not _number(state, "exclusive"):
        return "held by %s" % _counted(readers, "reader") if readers else "free"
    writer, nested = _number(value, "m_writer"), _number(value, "m_nested")
    inner = [_counted(count, thing) for count, thing in ((nested >> 16, "write"), (nested & 0xFFFF, "read")) if count]
    who = "thread %#x" % writer if writer else "a writer"
    return "held for writing by %s%s" % (who, " with %s inside" % " and ".join(inner) if inner else "")


@_described
def table(value):
    """A hash table."""
    return "%s of %s" % (_type_name_of(value), _counted(_number(value, "uBuckets"), "bucket"))


SUMMARIES = {
    handle: r"^ORVA::(Buffers::CP(ObjectMemory|I?Object<.*>|ObjectVector<.*>|OMVector|PlainMemory|PlainVector<.*>|"
            r"CString<.*>|Interface<.*>)|String::(_cppoolstring|CPPoolString|CPPoolStringArray)|"
            r"Threading::CP(Event|MultipleEvent|Mutex|CriticalSection|RWInterlock|Thread|ThreadContext<.*>))$",
    record: r"^ORVA::String::tagSTRINGPOOLRECORD$",
    holder: r"^ORVA::String::(HeldText<.*>|CNQFWChar|CUTF8Char|CUTF16Char|CANSIChar)$",
    identifier: r"^(_nqfUID|ORVA::NQF::cnqfuid)$",
    rational: r"^ORVA::Math::CRational$",
    interface: r"^ORVA::NQF::(CPINQFUnknown|CPNQI<.*>|IPNQF)$",
    event: r"^ORVA::Threading::_c(Multiple)?Event$",
    lock: r"^ORVA::Threading::_c(Mutex|CriticalSection)$",
    interlock: r"^ORVA::Threading::_cRWInterlock$",
    table: r"^ORVA::Lookup::CPOMKeyTable<.*>$|^ORVA::String::(CCase(Ins|S)ensitiveHash|PooledStrings)$",
}
# Those of the handles that have children.
PAYLOADS = (r"^ORVA::(Buffers::CP(I?Object<.*>|ObjectVector<.*>|OMVector|PlainVector<.*>)|String::CPPoolStringArray|"
            r"Threading::CP(Event|MultipleEvent|Mutex|CriticalSection|RWInterlock))$")


def __lldb_init_module(debugger, _):
    """What lldb calls when it imports this."""
    add = "type summary add -w libORVA -p %s-x \"%s\" -F " + __name__ + ".%s"
    for function, names in SUMMARIES.items():
        debugger.HandleCommand(add % ("", names, function.__name__))
    debugger.HandleCommand(add % ("-e ", PAYLOADS, "handle"))
    debugger.HandleCommand('type synthetic add -w libORVA -p -x "%s" -l %s.Payload' % (PAYLOADS, __name__))
    debugger.HandleCommand("type category enable libORVA")
