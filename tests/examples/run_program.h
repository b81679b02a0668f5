/// @file
/// Running a program as a shell does, with everything that it prints kept.
#pragma once

#include <string>
#include <vector>

namespace examples
{

struct Outcome
{
    int status = -1; ///< the exit status; -1 if a signal ended the program
    std::string out;
    std::string err;
};

/// A directory that goes with the object, and programs run in it.
class Workplace
{
public:
    Workplace();
    ~Workplace();
    Workplace(Workplace const&) = delete;
    Workplace& operator=(Workplace const&) = delete;

    /// Writes a file and returns its path.
    std::string file(std::string const& name, std::string const& content) const;

    /// What a file of this directory holds.
    std::string content(std::string const& name) const;

    std::string const& path() const { return m_path; }

    /// Runs a program in this directory with `input` as its standard input. `arguments` are preceded by the program.
    Outcome run(std::vector<std::string> const& arguments, std::string const& input = "") const;

    /// As `run`, with `out` as the program's standard output and `err` as its standard error; -1 stands for the usual
    /// files. Both descriptors stay open here.
    Outcome run_with(std::vector<std::string> const& arguments, std::string const& input, int out, int err) const;

private:
    std::string m_path;
};

} // namespace examples
