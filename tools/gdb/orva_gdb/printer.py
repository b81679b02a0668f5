"""What all printers have in common: they show what they can, and say what they cannot read."""
import gdb

from .memory import bases, member_fields, plain_type, reason


def unreadable(error):
    return "<cannot be read: %s>" % reason(error)


class Printer:
    """A printer of one value. Subclasses give `summary()`: one line that says what the value is."""

    def __init__(self, value):
        self.value = value
        self.is_unreadable = False

    def summary(self):
        raise NotImplementedError

    def to_string(self):
        # Whatever goes wrong, the user gets a text: a printer that throws spoils the display of all that surrounds the
        # value. A value that is optimised away in part says so when the missing part is read.
        try:
            return "<optimized out>" if self.value.is_optimized_out else self.summary()
        except Exception as error:  # pylint: disable=broad-except
            self.is_unreadable = True
            return unreadable(error)


class Composite(Printer):
    """A printer of a value with more to see: `contents()` gives the pairs of names and values that stand in braces."""

    def contents(self):
        raise NotImplementedError

    def hint(self):
        """None, "array" or "map", as gdb takes it."""
        return None

    def children(self):
        if self.is_unreadable or self.value.is_optimized_out:
            return
        try:
            yield from self.contents()
        except Exception as error:  # pylint: disable=broad-except
            yield "rest", unreadable(error)

    def display_hint(self):
        try:
            return self.hint()
        except Exception:  # pylint: disable=broad-except
            return None

    def own_fields(self):
        """What classes outside of the library add to one of its classes: fields, and further bases."""
        for each_type in first_bases(plain_type(self.value.type)):
            if (each_type.name or "").startswith("ORVA::"):
                return
            first = next((each for each in each_type.fields() if each.is_base_class), None)
            for each in member_fields(each_type):
                if first is None or each.name != first.name:
                    yield each.name, self.value[each]


def first_bases(value_type):
    """A class, its first base, the first base of that, and so on."""
    while value_type is not None and value_type.code == gdb.TYPE_CODE_STRUCT:
        yield value_type
        value_type = next(iter(bases(value_type)), None)
