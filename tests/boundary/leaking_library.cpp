// A library with a name too many: the check of the exports has to refuse it.
namespace ORVA::Buffers
{

struct CPObjectMemory
{
    int Alloc(unsigned long size);
};

int CPObjectMemory::Alloc(unsigned long)
{
    return 1;
}

} // namespace ORVA::Buffers

int left_over();

int left_over()
{
    return 1;
}
