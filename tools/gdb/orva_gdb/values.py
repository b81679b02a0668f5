"""Identifiers, fractions, and handles on interfaces of components."""
from .memory import field, plain_type, short_name
from .printer import Composite, Printer


class IdentifierPrinter(Printer):
    """An identifier in its canonical form."""

    def summary(self):
        uid = self.value
        if plain_type(uid.type).name != "_nqfUID":
            uid = field(uid, "m_uid")
        groups = [int(uid["Data1"]), int(uid["Data2"]), int(uid["Data3"])]
        rest = "".join("%02X" % int(uid["Data4"][at]) for at in range(8))
        return "%08X-%04X-%04X-%s-%s" % (*groups, rest[:4], rest[4:])


class RationalPrinter(Printer):
    """A fraction as it stands: the sign may be below, and a denominator of 0 is no value."""

    def summary(self):
        numerator, denominator = (int(field(self.value, name)) for name in ("m_numerator", "m_denominator"))
        return "%d/%d%s" % (numerator, denominator, "" if denominator else " (not normal)")


class InterfacePointerPrinter(Composite):
    """A handle on an interface of a component."""

    def word(self):
        return field(self.value, "m_word")

    def summary(self):
        word = int(self.word())
        if word in (0, 1):
            return "null" if word == 1 else "null (a creation failed)"
        name = short_name(plain_type(self.value.type).name or "handle")
        return "%s on %#x, %s" % (name, word & ~1, "resolved" if word & 1 else "raw")

    def contents(self):
        if (plain_type(self.value.type).name or "").endswith("::IPNQF"):
            yield "type", field(self.value, "m_type")
        yield from self.own_fields()
