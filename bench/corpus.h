// The names that the benchmarks work on: the base names of all files that this machine's packages have installed, and
// the words of its dictionary.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace bench
{

// Widens a name byte by byte: what counts here is the length and the spread of real names, not their encoding.
inline std::wstring widen(std::string const& name)
{
    std::wstring wide;
    for (char const character : name)
        wide.push_back(static_cast<wchar_t>(static_cast<unsigned char>(character)));
    return wide;
}

// All distinct names, in an order that is shuffled in the same way at each run.
inline std::vector<std::wstring> const& corpus()
{
    static std::vector<std::wstring> const names = []
    {
        std::vector<std::string> found;
        std::error_code error;
        for (auto const& list : std::filesystem::directory_iterator("/var/lib/dpkg/info", error))
        {
            if (list.path().extension() != ".list")
                continue;
            std::ifstream lines(list.path());
            for (std::string line; std::getline(lines, line);)
                found.push_back(line.substr(line.rfind('/') + 1));
        }
        std::ifstream words("/usr/share/dict/words");
        for (std::string word; std::getline(words, word);)
            found.push_back(word);
        std::sort(found.begin(), found.end());
        found.erase(std::unique(found.begin(), found.end()), found.end());
        std::vector<std::wstring> wide;
        for (std::string const& name : found)
        {
            if (!name.empty())
                wide.push_back(widen(name));
        }
        std::shuffle(wide.begin(), wide.end(), std::mt19937(20261));
        return wide;
    }();
    return names;
}

// The text of a number: the names in turn, and from the second round on each with the number of the round behind it.
inline std::wstring numbered_name(std::size_t number)
{
    auto const& names = corpus();
    std::size_t const round = number / names.size();
    std::wstring text = names[number % names.size()];
    if (round != 0)
        text += L'-' + std::to_wstring(round);
    return text;
}

} // namespace bench
