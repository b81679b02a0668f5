"""Run by gdb with a program of debugged.cpp: prints what is to be compared in lines that begin with "@ "."""
import os

import gdb


def say(text):
    for line in text.splitlines():
        print("@ " + line)


def execute(command):
    """What a command prints, or how it fails."""
    try:
        return gdb.execute(command, to_string=True)
    except gdb.error as error:
        return str(error)


def go_on(command="continue"):
    """Runs to the next place to look at, and goes up to the function that has the values."""
    gdb.execute(command, to_string=True)
    gdb.execute("up", to_string=True)
    say("-- " + gdb.selected_frame().name().replace("(anonymous namespace)::", ""))


def look(names):
    for name in names.split():
        say("%s = %s" % (name, execute("output " + name)))


def look_at_all():
    gdb.execute("break look_here", to_string=True)
    go_on("run")
    look("title again accents null_string empty_string yes by_base as_block long_string record key")
    look("utf8 utf16 ansi names")
    gdb.execute("set host-charset ASCII")
    look("accents")
    gdb.execute("set charset UTF-8")
    gdb.execute("set target-charset ASCII")
    look("accents")
    gdb.execute("set charset UTF-8")
    say(execute("print/r title").partition(" = ")[2])
    go_on()
    look("empty track same_track own_handle stereo player plain numbers tracks no_tracks c_string handles no_thread")
    gdb.execute("set print elements 2")
    look("plain c_string")
    gdb.execute("set print elements 1")
    look("tracks")
    gdb.execute("set print elements 20")
    go_on()
    look("uid identifier nil three_quarters below failure no_component no_interface uid_left_out "
         "handle_left_out")
    go_on()
    look("table no_items")
    go_on()
    look("bell interlock section signalled pulse invalid any all mutex free_mutex entered free_section reading "
         "free_interlock")
    gdb.execute("set var bell.m_strays = (ORVA::Threading::tagEVENTWAITER*)g_waiter")
    gdb.execute("set var bell.m_lock.m.__data.__owner = %d" % gdb.selected_thread().ptid[1])
    look("bell")
    gdb.execute("set var bell.m_strays = 0")
    gdb.execute("set var bell.m_lock.m.__data.__owner = 0")
    go_on()
    look("stray odd damaged untyped string vector record event table")
    gdb.execute("kill")


def look_at_pool():
    gdb.execute("set breakpoint pending on")
    say("-- before the pool is built")
    gdb.execute("tbreak 'ORVA::String::staticStringRecord::staticStringRecord(wchar_t const*)'", to_string=True)
    gdb.execute("run", to_string=True)
    say(execute("info orva-pool"))
    look("ORVA::String::CPPoolString::ptrue ORVA::String::g_sensitive_table ORVA::String::g_pool_lock")
    say("-- in the middle of a change")
    gdb.execute("tbreak ORVA::String::CCaseInsensitiveHash::Add", to_string=True)
    gdb.execute("continue", to_string=True)
    say(execute("info orva-pool 0").splitlines()[0])
    gdb.execute("break look_here", to_string=True)
    go_on()
    say(execute("info orva-pool"))
    say(execute("info orva-pool 1"))
    say(execute("info orva-pool many"))
    gdb.execute("generate-core-file " + os.environ["ORVA_CORE_FILE"], to_string=True)
    say("-- damaged")
    gdb.execute("set var ORVA::String::g_sensitive_table.m_alone = 1")
    buckets = (gdb.parse_and_eval("ORVA::String::g_sensitive_table")["cpIndex"]["m_pMH"] + 1).cast(
        gdb.lookup_type("unsigned long").pointer())
    used = [index for index in range(4096) if int(buckets[index]) != 0]
    gdb.execute("set var *(unsigned long*)%d = 0x10" % int(buckets + used[0]))
    # The item of the next one's first entry, behind the header and the key, and the size of the one behind that.
    gdb.execute("set var *(unsigned long*)%d = 0x20" % (int(buckets[used[1]]) + 32 + 8))
    gdb.execute("set var ((ORVA::Buffers::tagCPOMEMHEADER*)%d)->uSize = 1000000" % int(buckets[used[2]]))
    say(execute("info orva-pool 0"))
    say("-- no process any more")
    gdb.execute("kill")
    say(execute("info orva-pool"))


def look_without_debug_information():
    gdb.execute("break look_here", to_string=True)
    go_on("run")
    look("title names")
    say(execute("info orva-pool 2"))
    go_on()
    look("track tracks")
    go_on()
    look("uid three_quarters")
    go_on()
    look("no_items")
    go_on()
    look("bell interlock section signalled any")
    gdb.execute("kill")


def look_at_core():
    say("-- core file")
    say(execute("info orva-pool"))
    gdb.execute("up", to_string=True)
    look("title names")


for setting in ("width 0", "height 0", "print elements 20", "charset UTF-8", "print thread-events off",
                "print inferior-events off"):
    gdb.execute("set " + setting)
LOOKS = {"all": look_at_all, "pool": look_at_pool, "core": look_at_core, "stripped": look_without_debug_information}
LOOKS[os.environ["ORVA_LOOK_AT"]]()
