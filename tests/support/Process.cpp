#include "support/Process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "support/TemporaryFolder.h"

namespace tessaly::test {

ProcessResult runProcess(std::vector<std::string> command, const std::vector<std::string>& environment) {
    const TemporaryFolder folder;
    const std::string output = folder.write("output", "");
    const std::string errors = folder.write("errors", "");
    std::vector<char*> arguments;
    for (std::string& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(::open(output.c_str(), O_WRONLY), STDOUT_FILENO);
        ::dup2(::open(errors.c_str(), O_WRONLY), STDERR_FILENO);
        for (const std::string& variable : environment) {
            const auto equals = variable.find('=');
            ::setenv(variable.substr(0, equals).c_str(), variable.substr(equals + 1).c_str(), 1);
        }
        ::execv(arguments[0], arguments.data());
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), contentOf(output), contentOf(errors)};
}

}  // namespace tessaly::test
