"""Run by lldb with a program of debugged.cpp: prints what is to be compared in lines that begin with "@ "."""
import lldb

PLACES = (
    "title again accents null_string empty_string yes by_base as_block long_string record utf8 utf16 ansi names",
    "empty track same_track stereo player plain numbers tracks no_tracks c_string handles no_thread",
    "uid identifier nil three_quarters below failure no_component no_interface uid_left_out handle_left_out",
    "table no_items",
    "interlock section signalled pulse invalid any all mutex free_mutex entered free_section reading free_interlock",
    "stray odd damaged untyped string vector record event table",
)


def text_of(value):
    """The line of a value, and its children in braces where a debugger shows them."""
    line = value.GetSummary() or value.GetValue()
    if value.GetType().IsReferenceType():
        value = value.Dereference()
    if line is not None and not value.IsSynthetic():
        return line
    children = [value.GetChildAtIndex(at) for at in range(value.GetNumChildren())]
    if value.GetType().GetDirectBaseClassAtIndex(0).IsValid() and line is None:
        children = [child for child in children if not child.GetName().startswith("ORVA::")]
    if not children:
        return line or "{}"
    inside = ", ".join("%s = %s" % (child.GetName(), text_of(child)) for child in children)
    return "%s{%s}" % (line + " = " if line else "", inside)


def look(debugger):
    target = debugger.GetSelectedTarget()
    target.BreakpointCreateByName("look_here")
    process = target.LaunchSimple(None, None, ".")
    for names in PLACES:
        frame = process.GetSelectedThread().GetFrameAtIndex(1)
        print("@ -- " + frame.GetFunctionName().partition("(anonymous namespace)::")[2].partition("(")[0])
        for name in names.split():
            print("@ %s = %s" % (name, text_of(frame.FindVariable(name))))
        process.Continue()
    print("@ -- %s" % ("ended" if process.GetState() == lldb.eStateExited else "not ended"))
    process.Kill()


def __lldb_init_module(debugger, _):
    debugger.SetAsync(False)
    look(debugger)
