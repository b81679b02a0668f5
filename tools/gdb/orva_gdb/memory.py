"""Reading the inferior's memory and debug information, with one kind of failure for all that cannot be read.

Nothing here calls a function of the inferior. Field names come from the debug information, and so do their places.
"""
import re

import gdb

LARGEST_READ = 1 << 28


class Unreadable(Exception):
    """What is to be shown cannot be read; the text says why, for a person."""


def reason(error):
    """The text of an exception, in one line."""
    return " ".join(str(error).split()) or type(error).__name__


def read(address, size):
    """`size` bytes at `address`."""
    if size > LARGEST_READ:
        raise Unreadable("%d bytes at %#x are more than there can be" % (size, address))
    try:
        return bytes(gdb.selected_inferior().read_memory(address, size))
    except gdb.error as error:
        raise Unreadable(reason(error)) from None


def unsigned(data, offset, size):
    return int.from_bytes(data[offset:offset + size], "little")


def plain_type(value_type):
    """The type without references, typedefs and qualifiers."""
    if value_type.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
        value_type = value_type.target()
    return value_type.unqualified().strip_typedefs()


def type_named(name):
    try:
        return gdb.lookup_type(name)
    except gdb.error:
        raise Unreadable("no debug information about %s" % name) from None


def member_fields(struct_type):
    """The fields of an object of this type, base classes among them, in order."""
    return [field for field in struct_type.fields() if hasattr(field, "bitpos")]


def bases(struct_type):
    return [field.type.strip_typedefs() for field in struct_type.fields() if field.is_base_class]


def offset_and_size(struct_type, name):
    """Where the field of a name stands in a type or in one of its bases, in bytes."""
    for field in member_fields(struct_type):
        field_type = field.type.strip_typedefs()
        if field.name == name and not field.is_base_class:
            return field.bitpos // 8, field_type.sizeof
        if field.is_base_class:
            try:
                offset, size = offset_and_size(field_type, name)
            except Unreadable:
                continue
            return field.bitpos // 8 + offset, size
    raise Unreadable("%s has no field %s, or no debug information" % (struct_type, name))


class Layout:
    """Reads some fields of a structure out of its bytes: `Layout(type, "a", "b").of(data)` gives the two numbers."""

    def __init__(self, struct_type, *names):
        self.size = struct_type.sizeof
        self._places = [offset_and_size(struct_type, name) for name in names]

    def of(self, data, start=0):
        return [unsigned(data, start + offset, size) for offset, size in self._places]


def field(value, name):
    """The field of a name, in the value or in one of its bases."""
    try:
        return value[name]
    except (gdb.error, KeyError):
        type_name = short_name(str(plain_type(value.type)))
        raise Unreadable("%s has no field %s, or no debug information" % (type_name, name)) from None


def scalar(value):
    """The number in a value: the value itself, or what a class of one number, such as an atomic one, holds."""
    while plain_type(value.type).code in (gdb.TYPE_CODE_STRUCT, gdb.TYPE_CODE_UNION):
        fields = member_fields(plain_type(value.type))
        if not fields:
            raise Unreadable("no debug information about %s" % value.type)
        value = value[fields[0]]
    return value


def symbol_at(address):
    """The name of the object that begins at an address, or None."""
    try:
        text = gdb.execute("info symbol %#x" % address, to_string=True)
    except gdb.error:
        return None
    found = re.match(r"(.*?) in section ", text.splitlines()[0] if text else "")
    return None if found is None or re.search(r" \+ \d+$", found[1]) else found[1]


def short_name(name):
    """A type's name without this library's namespaces."""
    return re.sub(r"\bORVA::(?:[A-Z]\w*::)?", "", name)


def limit(default=200):
    """How many elements or characters the user wants to see of one value."""
    elements = gdb.parameter("print elements")
    return default if elements is None else int(elements) or default


def counted(number, thing):
    return "%s %s%s" % ("no" if number == 0 else number, thing, "" if number == 1 else "s")
