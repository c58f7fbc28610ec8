#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <mutex>

#include "sandbox/CommandLine.h"
#include "sandbox/SandboxServer.h"

namespace {

constexpr int kBadArguments = 2;

using tarnwell::sandbox::CommandLine;
using tarnwell::sandbox::SandboxServer;

int fail(const std::string& problem, int status) {
  std::cerr << "tarnwell-sandbox: " << problem << "\n";
  return status;
}

int serve(CommandLine arguments) {
  // Blocked before any thread starts, so that all inherit it and only sigwait sees them.
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGINT);
  sigaddset(&ending, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &ending, nullptr);

  std::mutex mutex;
  if (arguments.verbose) {
    arguments.server.log = [&mutex](const std::string& line) {
      const std::lock_guard lock(mutex);
      std::cerr << line << "\n";
    };
  }
  arguments.server.requestLimit = 0;
  SandboxServer server(std::move(arguments.server));
  std::string problem;
  if (!server.start(&problem)) return fail(problem, EXIT_FAILURE);
  if (!arguments.writeCertificateFile.empty()) {
    std::ofstream file(arguments.writeCertificateFile, std::ios::binary);
    file << server.certificatePem();
    if (!file.flush()) return fail("cannot write " + arguments.writeCertificateFile, EXIT_FAILURE);
  }
  std::cout << "listening " << server.url() << std::endl;

  int signal = 0;
  sigwait(&ending, &signal);
  server.stop();
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
  std::string problem;
  const std::optional<CommandLine> arguments =
      tarnwell::sandbox::parseCommandLine({argv + 1, argv + argc}, problem);
  if (!arguments) return fail(problem + "; --help shows them all", kBadArguments);
  if (arguments->help) {
    std::cout << tarnwell::sandbox::usage();
    return EXIT_SUCCESS;
  }
  return serve(*arguments);
}
