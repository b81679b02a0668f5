# The printers and commands for libORVA where nothing loads them by itself: `source tools/gdb/load.py` in gdb.
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import orva_gdb  # pylint: disable=wrong-import-position

orva_gdb.register(None)
