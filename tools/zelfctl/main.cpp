// zelfctl: reads the command line and does what it asks for.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>

#include "database.h"
#include "sandbox.h"
#include "verbs.h"

namespace {

// A file that is opened must not get the number of a standard stream that is closed: what is printed would end in it.
void fill_standard_streams()
{
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(file, F_GETFD) < 0) open("/dev/null", file == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

int run(const std::vector<std::string>& words)
{
    const zelfctl::Request request = zelfctl::read_request(words);
    if (!request.act) return request.exit_code;
    if (request.sandbox && !zelfctl::enter_sandbox()) return zelfctl::exit_failed;
    const int code = request.act();
    // What could not be printed was not told.
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return code;
    zelfctl::complain("standard output cannot be written");
    return zelfctl::exit_failed;
}

}  // namespace

int main(int argc, char** argv)
{
    fill_standard_streams();
    try {
        return run({argv + 1, argv + argc});
    } catch (const std::exception& error) {  // no memory, for one
        zelfctl::complain(error.what());
        return zelfctl::exit_failed;
    }
}
