// The catalog example's walk by itself, in a tree that changes meanwhile. The program of these tests is in the "C"
// locale, by which the library's enumerator cuts every name that is not ASCII.

#include "../../examples/catalog/walk.h"
#include "catalog_tree.h"

#include <algorithm>
#include <cerrno>
#include <functional>

namespace examples
{

namespace
{

// Keeps what it is told, and lets a test act while the walk is under way.
class Recorder final : public catalog::TreeVisitor
{
public:
    void entry(catalog::Place const& place, catalog::Entry const& entry) override
    {
        entries.push_back(entry);
        paths.push_back(catalog::path_of(place.path, entry.name));
        if (on_entry)
            on_entry(entry);
    }

    void directory_read(catalog::Place const& place) override
    {
        read.push_back(place.path);
        if (on_directory_read)
            on_directory_read(place);
    }

    void unreadable(catalog::Place const& place, int error) override { unread.emplace_back(place.path, error); }

    std::function<void(catalog::Entry const&)> on_entry;
    std::function<void(catalog::Place const&)> on_directory_read;
    std::vector<catalog::Entry> entries;
    Names paths;
    Names read;
    std::vector<std::pair<std::string, int>> unread;
};

} // namespace

class CatalogWalk : public CatalogTreeTest
{
protected:
    // Acts once, when the root has been read and nothing in it has been entered.
    void when_the_root_was_read(std::function<void()> const& act)
    {
        recorder.on_directory_read = [act](catalog::Place const& place)
        {
            if (place.depth == 0)
                act();
        };
    }

    Recorder recorder;
};

TEST_F(CatalogWalk, ReadsADirectoryBeforeThoseInItAndThoseInTheOrderOfTheirNames)
{
    for (char const* name : {"b", "a", "c", "a/z", "a/y", "c/x"})
        directory(name);
    catalog::walk(root, recorder);
    EXPECT_EQ(recorder.read, (Names{root, at("a"), at("a/y"), at("a/z"), at("b"), at("c"), at("c/x")}));
    EXPECT_EQ(recorder.unread.size(), 0U);
}

TEST_F(CatalogWalk, SkipsADirectoryThatIsRemovedMeanwhile)
{
    for (char const* name : {"a", "b", "b/inside", "c", "c/inside"})
        directory(name);
    when_the_root_was_read([this] { std::filesystem::remove_all(at("b")); });
    catalog::walk(root, recorder);
    EXPECT_EQ(recorder.read, (Names{root, at("a"), at("c"), at("c/inside")}));
    ASSERT_EQ(recorder.unread.size(), 1U);
    EXPECT_EQ(recorder.unread[0], std::make_pair(at("b"), ENOENT));
}

TEST_F(CatalogWalk, DoesNotEnterALinkThatReplacesADirectoryMeanwhile)
{
    for (char const* name : {"a", "b"})
        directory(name);
    file("a/file");
    when_the_root_was_read(
        [this]
        {
            std::filesystem::remove(at("b"));
            link("a", "b");
        });
    catalog::walk(root, recorder);
    EXPECT_EQ(recorder.read, (Names{root, at("a")}));
    ASSERT_EQ(recorder.unread.size(), 1U);
    EXPECT_EQ(recorder.unread[0].first, at("b"));
    EXPECT_TRUE(recorder.unread[0].second == ENOTDIR || recorder.unread[0].second == ELOOP);
}

TEST_F(CatalogWalk, TellsNothingAboutEntriesThatAreRemovedMeanwhile)
{
    for (char const* name : {"a", "b", "c"})
        file(name, 5);
    recorder.on_entry = [this](catalog::Entry const& entry)
    {
        for (std::string const name : {"a", "b", "c"})
        {
            if (name != entry.name)
                std::filesystem::remove(at(name));
        }
    };
    catalog::walk(root, recorder);
    ASSERT_GE(recorder.entries.size(), 1U);
    EXPECT_TRUE(recorder.entries[0].known);
    EXPECT_EQ(recorder.entries[0].size, 5);
    for (std::size_t index = 1; index < recorder.entries.size(); ++index)
    {
        EXPECT_FALSE(recorder.entries[index].known);
        EXPECT_EQ(recorder.entries[index].size, 0);
        EXPECT_EQ(recorder.entries[index].modified, 0);
    }
}

TEST_F(CatalogWalk, ARootThatIsNotThereIsToldAndIsAll)
{
    catalog::walk(at("missing"), recorder);
    EXPECT_EQ(recorder.read.size(), 0U);
    ASSERT_EQ(recorder.unread.size(), 1U);
    EXPECT_EQ(recorder.unread[0], std::make_pair(at("missing"), ENOENT));
}

TEST_F(CatalogWalk, NamesAndRecordsAreRightInALocaleThatDoesNotTakeThem)
{
    directory("\xC3\xA4");
    for (std::string const name : {"caf", "caf\xC3\xA9", "caf\xE9", "z"})
        file(name, name.size());
    file("\xC3\xA4/\xE2\x82\xAC", 3);
    catalog::walk(root, recorder);
    std::sort(recorder.paths.begin(), recorder.paths.end());
    EXPECT_EQ(recorder.paths, (Names{at("caf"), at("caf\xC3\xA9"), at("caf\xE9"), at("z"), at("\xC3\xA4"),
                                     at("\xC3\xA4/\xE2\x82\xAC")}));
    for (catalog::Entry const& entry : recorder.entries)
    {
        EXPECT_TRUE(entry.known);
        if (entry.kind == catalog::Kind::file)
        {
            EXPECT_EQ(static_cast<unsigned long>(entry.size), entry.name.size()) << entry.name;
        }
    }
}

} // namespace examples
