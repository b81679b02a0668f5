// A shared object that is no component.
extern "C" __attribute__((visibility("default"))) int some_other_entry();

extern "C" int some_other_entry()
{
    return 1;
}
