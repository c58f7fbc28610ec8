#pragma once

#include <csignal>

namespace tarnwell::detail {

/// Keeps SIGPIPE away from the program while it lives: TLS writes to a peer that went away raise
/// it, and its default is to end the process. Works on the calling thread only and leaves the
/// process's own handling of the signal alone.
class PipeSignalGuard {
 public:
  PipeSignalGuard() noexcept {
    sigemptyset(&pipe_);
    sigaddset(&pipe_, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe_, &before_);
    // Only a signal that was blocked can have been pending.
    wasPending_ = sigismember(&before_, SIGPIPE) == 1 && isPending();
  }
  PipeSignalGuard(const PipeSignalGuard&) = delete;
  PipeSignalGuard& operator=(const PipeSignalGuard&) = delete;
  ~PipeSignalGuard() {
    // One that was pending before is somebody else's, and blocked by them.
    if (wasPending_) return;
    if (isPending()) {
      int taken = 0;
      sigwait(&pipe_, &taken);
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }

 private:
  static bool isPending() noexcept {
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
  }

  sigset_t pipe_{};
  sigset_t before_{};
  bool wasPending_ = false;
};

}  // namespace tarnwell::detail
