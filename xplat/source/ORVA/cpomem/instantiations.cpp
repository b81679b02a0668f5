#include "ORVA/Buffers/CString.h"
#include "ORVA/Buffers/ObjectVector.h"

// The type tables of the library's own block types, each once in the process: whoever links the library uses these.
namespace ORVA::Buffers
{

template class CPCString<wchar_t>;
template class CPCString<unsigned char>;
template class CPObjectVector<CPObjectMemory>;

} // namespace ORVA::Buffers
