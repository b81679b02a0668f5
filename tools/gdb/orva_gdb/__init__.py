"""gdb's view of libORVA's types, and the command `info orva-pool`. docs/debugging.md tells how to use them."""
import gdb
import gdb.printing

from . import pool
from .blocks import InterfacePrinter, PlainVectorPrinter, SortedPrinter
from .memory import plain_type
from .printer import first_bases
from .strings import HolderPrinter, RecordPrinter, StaticRecordPrinter, StringPrinter
from .tables import TablePrinter
from .values import IdentifierPrinter, InterfacePointerPrinter, RationalPrinter
from .waiting import CriticalSectionPrinter, EventPrinter, InterlockPrinter, MultipleEventPrinter, MutexPrinter

# For these classes alone.
PRINTERS = {
    "_nqfUID": IdentifierPrinter,
    "ORVA::Math::CRational": RationalPrinter,
    "ORVA::NQF::cnqfuid": IdentifierPrinter,
    "ORVA::String::staticStringRecord": StaticRecordPrinter,
    "ORVA::String::tagSTRINGPOOLRECORD": RecordPrinter,
    "ORVA::Threading::_cMutex": MutexPrinter,
    "ORVA::Threading::_cCriticalSection": CriticalSectionPrinter,
    "ORVA::Threading::_cRWInterlock": InterlockPrinter,
}

# For these classes, or templates, and for those that derive from them.
PRINTERS_OF_FAMILIES = {
    "ORVA::Buffers::CPInterface": InterfacePrinter,
    "ORVA::Buffers::CPObjectMemory": StringPrinter,
    "ORVA::Buffers::CPPlainVector": PlainVectorPrinter,
    "ORVA::Lookup::CBaseHashTable": TablePrinter,
    "ORVA::NQF::CPINQFUnknown": InterfacePointerPrinter,
    "ORVA::String::CPPoolStringArray": SortedPrinter,
    "ORVA::String::HeldText": HolderPrinter,
    "ORVA::Threading::_cEvent": EventPrinter,
    "ORVA::Threading::_cMultipleEvent": MultipleEventPrinter,
}


class Printers(gdb.printing.PrettyPrinter):
    """Chooses the printer of a value by its class or the first of its bases that has one."""

    def __init__(self):
        super().__init__("libORVA")

    def __call__(self, value):
        try:
            if value.type.code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
                value = value.referenced_value()
            value_type = plain_type(value.type)
            if value_type.code != gdb.TYPE_CODE_STRUCT:
                return None
            printer = PRINTERS.get(value_type.name)
            if printer is not None:
                return printer(value)
            for each in first_bases(value_type):
                printer = PRINTERS_OF_FAMILIES.get((each.name or "").partition("<")[0])
                if printer is not None:
                    return printer(value)
        except Exception:  # pylint: disable=broad-except
            pass  # gdb shows the value its own way
        return None


def register(objfile):
    """Registers the printers with an object file, or for all of them with None, and defines the command."""
    gdb.printing.register_pretty_printer(objfile, Printers(), replace=True)
    pool.InfoPool()
