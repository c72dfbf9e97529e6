#pragma once
#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <string>

namespace tavelin {

// A second start of the program asks the first (the one that holds the
// instance lock of the same folder) to bring its window to the front,
// through a local socket of this user: no more than a socket, so that the
// start loads nothing for it.
class RaiseRequests {
 public:
  // The first start listens; `raise` runs on each request, in its event loop.
  RaiseRequests(const std::string& folder, std::function<void()> raise);
  ~RaiseRequests();
  RaiseRequests(const RaiseRequests&) = delete;
  RaiseRequests& operator=(const RaiseRequests&) = delete;
  bool Listening() const { return fd_ >= 0; }

  // A second start: true when the running program took the request.
  static bool AskRunning(const std::string& folder);

 private:
  void Accept();

  int fd_ = -1;
  std::unique_ptr<QSocketNotifier> notifier_;
  std::function<void()> raise_;
};

}  // namespace tavelin
