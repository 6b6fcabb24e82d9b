// zelfctl: reads the command line and does what it asks for.
#include <cstdio>
#include <exception>

#include "database.h"
#include "sandbox.h"
#include "verbs.h"

namespace {

int run(const std::vector<std::string>& words)
{
    const zelfctl::Request request = zelfctl::read_request(words);
    if (!request.act) return request.exit_code;
    if (request.sandbox && !zelfctl::enter_sandbox()) return zelfctl::exit_failed;
    const int code = request.act();
    // What could not be printed was not told.
    if (std::fflush(stdout) == 0) return code;
    zelfctl::complain("standard output cannot be written");
    return zelfctl::exit_failed;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return run({argv + 1, argv + argc});
    } catch (const std::exception& error) {  // no memory, for one
        zelfctl::complain(error.what());
        return zelfctl::exit_failed;
    }
}
