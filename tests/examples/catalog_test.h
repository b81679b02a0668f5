/// @file
/// What the tests of the catalog example have in common.
#pragma once

#include "json_reader.h"
#include "run_program.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace examples
{

class CatalogTest : public ::testing::Test
{
protected:
    /// The catalog ends with its report, unless `arguments` tell otherwise.
    Outcome run(std::vector<std::string> arguments, std::string const& input = "")
    {
        arguments.insert(arguments.begin(), {CATALOG_PROGRAM, "--watch", "0"});
        return work.run(arguments, input);
    }

    /// The JSON report on `input`, which must be read without a complaint.
    Json report(std::string const& input)
    {
        Outcome const done = run({"--json", "-"}, input);
        EXPECT_EQ(done.status, 0);
        EXPECT_EQ(done.err, "");
        return JsonReader(done.out).read();
    }

    /// The names of a list of the report.
    static std::vector<std::string> names(Json const& list)
    {
        std::vector<std::string> texts;
        for (auto const& member : list.members)
            texts.push_back(member.second["name"].text);
        return texts;
    }

    Workplace work;
};

using Names = std::vector<std::string>;

} // namespace examples
