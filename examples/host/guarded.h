/// @file
/// Calls into a component that do not go through the library's handles. Those catch what the framework's own operations
/// throw; the operations of an interface of one's own are ordinary calls, and this is the border for them.
#pragma once

#include <exception>
#include <string>

namespace host
{

/// The result of `call`, an `int`; if it throws, -1 and the reason. The exception ends here, while the code that it comes
/// from is still loaded.
template <class Call>
int guarded(Call&& call, std::string& reason)
{
    try
    {
        return call();
    }
    catch (std::exception const& exception)
    {
        reason = *exception.what() != 0 ? exception.what() : "something without a text";
    }
    catch (...)
    {
        reason = "something unknown";
    }
    return -1;
}

} // namespace host
