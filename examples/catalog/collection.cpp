#include "collection.h"

#include "ORVA/Develop.h"
#include "ORVA/String.h"
#include "ORVA/Threading.h"

namespace catalog
{

Collection watch_collection(unsigned long seconds, Progress& progress)
{
    using namespace ORVA;
    constexpr unsigned long milliseconds_between_looks = 50;

    Collection collection;
    if (seconds == 0)
        return collection;
    collection.watched = true;
    collection.bytes_before = collection.bytes_after = String::CStringPool::GetSize();
    unsigned long const start = Develop::_now_milli();
    unsigned long elapsed = 0;
    while (collection.bytes_after != 0 && elapsed < seconds * 1000)
    {
        progress.update_collection(collection.bytes_after, elapsed / 1000);
        Threading::CurrentThread::sleep(milliseconds_between_looks);
        collection.bytes_after = String::CStringPool::GetSize();
        elapsed = Develop::_now_milli() - start;
    }
    progress.clear();
    collection.seconds = static_cast<double>(elapsed) / 1000;
    return collection;
}

} // namespace catalog
