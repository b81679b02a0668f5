/// @file
/// The few greatest of many.
#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace catalog
{

/// A path and the number that it is ranked by.
struct Ranked
{
    long number;
    std::string path;
};

/// Keeps the paths with the greatest numbers; of equal ones those that come first as texts. The result does not depend
/// on the order in which they are offered.
class TopList
{
public:
    explicit TopList(unsigned long limit) : m_limit(limit) {}

    /// False if no path with this number would be kept.
    bool admits(long number) const { return m_list.size() < m_limit || number >= m_list.back().number; }

    void offer(long number, std::string path)
    {
        Ranked item{number, std::move(path)};
        auto const before = [](Ranked const& a, Ranked const& b)
        { return a.number != b.number ? a.number > b.number : a.path < b.path; };
        m_list.insert(std::upper_bound(m_list.begin(), m_list.end(), item, before), std::move(item));
        if (m_list.size() > m_limit)
            m_list.pop_back();
    }

    /// The greatest first.
    std::vector<Ranked> const& list() const { return m_list; }

private:
    unsigned long m_limit;
    std::vector<Ranked> m_list;
};

} // namespace catalog
