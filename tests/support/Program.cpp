#include "tests/support/Program.h"

#include <array>
#include <csignal>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tarnwell::test {

Program::Program(const std::string& file, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), file);
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  output_ = ends[0];
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
  const int failure = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(ends[1]);
  if (failure != 0) throw std::runtime_error("cannot start the program");
}

Program::~Program() {
  if (pid_ > 0) {
    signal(SIGKILL);
    static_cast<void>(exitCode());
  }
  ::close(output_);
}

std::string Program::line() const {
  std::string text;
  char c = 0;
  while (::read(output_, &c, 1) == 1 && c != '\n') text += c;
  return text;
}

std::string Program::rest() const {
  std::string text;
  char c = 0;
  while (::read(output_, &c, 1) == 1) text += c;
  return text;
}

void Program::signal(int number) const { ::kill(pid_, number); }

int Program::exitCode() {
  int status = 0;
  ::waitpid(pid_, &status, 0);
  pid_ = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace tarnwell::test
