#include "run_program.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace examples
{

namespace
{

// Only calls that are safe between fork and exec.
[[noreturn]] void become(char* const* arguments, char const* directory, int in, int out, int err)
{
    if (chdir(directory) == 0 && dup2(in, STDIN_FILENO) >= 0 && dup2(out, STDOUT_FILENO) >= 0 &&
        dup2(err, STDERR_FILENO) >= 0)
        execv(arguments[0], arguments);
    _exit(126);
}

int open_or_throw(std::string const& path, int flags)
{
    int const descriptor = open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (descriptor < 0)
        throw std::runtime_error("cannot open " + path);
    return descriptor;
}

} // namespace

Workplace::Workplace()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "orva_example_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("no temporary directory");
    m_path = pattern;
}

Workplace::~Workplace()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string Workplace::file(std::string const& name, std::string const& content) const
{
    std::string const path = m_path + "/" + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

std::string Workplace::content(std::string const& name) const
{
    std::ifstream stream(m_path + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

Outcome Workplace::run(std::vector<std::string> const& arguments, std::string const& input) const
{
    return run_with(arguments, input, -1, -1);
}

Outcome Workplace::run_with(std::vector<std::string> const& arguments, std::string const& input, int out, int err) const
{
    std::vector<char*> pointers;
    for (std::string const& argument : arguments)
        pointers.push_back(const_cast<char*>(argument.c_str()));
    pointers.push_back(nullptr);

    int const in = open_or_throw(file(".stdin", input), O_RDONLY);
    int const out_file = open_or_throw(m_path + "/.stdout", O_CREAT | O_TRUNC | O_WRONLY);
    int const err_file = open_or_throw(m_path + "/.stderr", O_CREAT | O_TRUNC | O_WRONLY);
    pid_t const child = fork();
    if (child == 0)
        become(pointers.data(), m_path.c_str(), in, out < 0 ? out_file : out, err < 0 ? err_file : err);
    close(in);
    close(out_file);
    close(err_file);

    Outcome result;
    int status = 0;
    if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status))
        result.status = WEXITSTATUS(status);
    result.out = content(".stdout");
    result.err = content(".stderr");
    return result;
}

} // namespace examples
