#pragma once
// Debian's mosquitto, started by the test on 127.0.0.1 at a free port, and
// a subscriber made with libmosquitto that keeps every message it gets.
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "support/simulation.h"

struct mosquitto;
struct mosquitto_message;

namespace tavelin::test {

class MosquittoBroker {
 public:
  // `passwords`: "user:password" lines; empty lets anyone in. With `tls`,
  // it speaks TLS only, with a certificate for 127.0.0.1 that CaFile()'s
  // authority signed.
  explicit MosquittoBroker(const std::string& passwords = "", bool tls = false);
  ~MosquittoBroker();
  MosquittoBroker(const MosquittoBroker&) = delete;
  MosquittoBroker& operator=(const MosquittoBroker&) = delete;

  int Port() const { return port_; }
  std::string CaFile() const { return (folder_.Path() / "ca.pem").string(); }
  std::string Url(const std::string& prefix, const std::string& user = "") const;
  // Stopped as a service stops; Start takes the same port again. Sessions
  // and queued messages live on in the broker's persistence file.
  void Stop();
  void Start();

 private:
  TempFolder folder_;
  int port_ = 0;
  pid_t pid_ = -1;
};

struct Received {
  std::string topic;
  std::string payload;
};

// A subscriber to PREFIX/#, QoS 1, with a session the broker keeps while
// it is away, so that nothing published meanwhile is missed.
class Subscriber {
 public:
  Subscriber(const MosquittoBroker& broker, const std::string& topic);
  ~Subscriber();
  Subscriber(const Subscriber&) = delete;
  Subscriber& operator=(const Subscriber&) = delete;

  // Waits until `done` holds for what arrived, or the time is up.
  bool WaitFor(const std::function<bool(const std::vector<Received>&)>& done,
               std::chrono::milliseconds longest);
  std::vector<Received> Messages();
  // The rows' payloads on PREFIX/BENCH/rows.
  std::vector<std::string> Rows();
  void Clear();

 private:
  static void OnMessage(mosquitto*, void* self, const mosquitto_message* message);
  static void OnConnect(mosquitto*, void* self, int rc);

  std::string topic_;
  mosquitto* mosq_ = nullptr;
  std::mutex mutex_;
  std::vector<Received> messages_;
  bool subscribed_ = false;
};

}  // namespace tavelin::test
