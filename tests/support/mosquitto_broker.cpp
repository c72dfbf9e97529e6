#include "support/mosquitto_broker.h"

#include <mosquitto.h>
#include <netinet/in.h>
#include <pwd.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <thread>

namespace tavelin::test {
namespace {

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  return address;
}

int FreePort() {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof address;
  ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  ::close(fd);
  return ntohs(address.sin_port);
}

bool Accepts(int port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  const sockaddr_in address = Loopback(port);
  const bool connected =
      ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  ::close(fd);
  return connected;
}

// A certificate authority of the test's own, and the broker's certificate.
void MakeCertificates(const TempFolder& folder) {
  folder.Write("san", "subjectAltName=IP:127.0.0.1\n");
  const std::string in = "cd " + folder.Path().string() + " && ";
  const char* steps[] = {
      "openssl req -x509 -newkey rsa:2048 -nodes -keyout ca.key -out ca.pem -days 2 -subj "
      "/CN=test-ca",
      "openssl req -newkey rsa:2048 -nodes -keyout server.key -out server.csr -subj /CN=127.0.0.1",
      "openssl x509 -req -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial -out server.pem "
      "-days 2 -extfile san"};
  for (const char* step : steps) {
    if (std::system((in + step + " 2>/dev/null").c_str()) != 0) {
      throw std::runtime_error(std::string("openssl failed: ") + step);
    }
  }
}

}  // namespace

MosquittoBroker::MosquittoBroker(const std::string& passwords, bool tls) : port_(FreePort()) {
  std::string config = "listener " + std::to_string(port_) +
                       " 127.0.0.1\n"
                       "persistence true\n"
                       "persistence_location " +
                       folder_.Path().string() +
                       "/\n"
                       "max_queued_messages 0\n"
                       "log_dest none\n";
  // Started as root, mosquitto would become another user, who cannot read
  // the test's folder.
  if (const passwd* user = ::getpwuid(::getuid()); user != nullptr) {
    config += "user " + std::string(user->pw_name) + "\n";
  }
  if (tls) {
    MakeCertificates(folder_);
    const std::string at = folder_.Path().string() + "/";
    config +=
        "cafile " + at + "ca.pem\ncertfile " + at + "server.pem\nkeyfile " + at + "server.key\n";
  }
  if (passwords.empty()) {
    config += "allow_anonymous true\n";
  } else {
    const auto file = folder_.Write("passwords", passwords);
    // mosquitto_passwd hashes the file in place.
    if (std::system(("mosquitto_passwd -U " + file.string()).c_str()) != 0) {
      throw std::runtime_error("mosquitto_passwd failed");
    }
    config += "allow_anonymous false\npassword_file " + file.string() + "\n";
  }
  folder_.Write("mosquitto.conf", config);
  Start();
}

MosquittoBroker::~MosquittoBroker() {
  Stop();
}

std::string MosquittoBroker::Url(const std::string& prefix, const std::string& user) const {
  return "mqtt://" + (user.empty() ? "" : user + "@") + "127.0.0.1:" + std::to_string(port_) + "/" +
         prefix;
}

void MosquittoBroker::Start() {
  const std::string config = (folder_.Path() / "mosquitto.conf").string();
  pid_ = ::fork();
  if (pid_ == 0) {
    const std::string log = (folder_.Path() / "mosquitto.log").string();
    std::freopen(log.c_str(), "a", stderr);  // its warnings are no test's output
    ::execlp("mosquitto", "mosquitto", "-c", config.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  for (int i = 0; i < 500 && !Accepts(port_); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  if (!Accepts(port_)) throw std::runtime_error("mosquitto did not start");
}

void MosquittoBroker::Stop() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGTERM);  // it saves its sessions on the way out
  ::waitpid(pid_, nullptr, 0);
  pid_ = -1;
}

Subscriber::Subscriber(const MosquittoBroker& broker, const std::string& topic) : topic_(topic) {
  mosquitto_lib_init();
  static int made = 0;
  const std::string id =
      "test-subscriber-" + std::to_string(::getpid()) + "-" + std::to_string(++made);
  mosq_ = mosquitto_new(id.c_str(), false, this);
  mosquitto_connect_callback_set(mosq_, &Subscriber::OnConnect);
  mosquitto_subscribe_callback_set(mosq_, [](mosquitto*, void* self, int, int, const int*) {
    auto* subscriber = static_cast<Subscriber*>(self);
    const std::lock_guard lock(subscriber->mutex_);
    subscriber->subscribed_ = true;
  });
  mosquitto_message_callback_set(mosq_, &Subscriber::OnMessage);
  mosquitto_reconnect_delay_set(mosq_, 1, 1, false);
  mosquitto_connect(mosq_, "127.0.0.1", broker.Port(), 30);
  mosquitto_loop_start(mosq_);
  WaitFor([this](const std::vector<Received>&) { return subscribed_; },
          std::chrono::milliseconds(5000));
}

Subscriber::~Subscriber() {
  mosquitto_disconnect(mosq_);
  mosquitto_loop_stop(mosq_, true);
  mosquitto_destroy(mosq_);
}

void Subscriber::OnConnect(mosquitto* mosq, void* self, int rc) {
  auto* subscriber = static_cast<Subscriber*>(self);
  if (rc != 0) return;
  mosquitto_subscribe(mosq, nullptr, subscriber->topic_.c_str(), 1);
}

void Subscriber::OnMessage(mosquitto*, void* self, const mosquitto_message* message) {
  auto* subscriber = static_cast<Subscriber*>(self);
  const std::lock_guard lock(subscriber->mutex_);
  subscriber->messages_.push_back(
      {message->topic, std::string(static_cast<const char*>(message->payload),
                                   static_cast<std::size_t>(message->payloadlen))});
}

bool Subscriber::WaitFor(const std::function<bool(const std::vector<Received>&)>& done,
                         std::chrono::milliseconds longest) {
  const auto deadline = std::chrono::steady_clock::now() + longest;
  while (std::chrono::steady_clock::now() < deadline) {
    {
      const std::lock_guard lock(mutex_);
      if (done(messages_)) return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  const std::lock_guard lock(mutex_);
  return done(messages_);
}

std::vector<Received> Subscriber::Messages() {
  const std::lock_guard lock(mutex_);
  return messages_;
}

void Subscriber::Clear() {
  const std::lock_guard lock(mutex_);
  messages_.clear();
}

std::vector<std::string> Subscriber::Rows() {
  std::vector<std::string> rows;
  for (const Received& message : Messages()) {
    if (message.topic.ends_with("/rows")) rows.push_back(message.payload);
  }
  return rows;
}

}  // namespace tavelin::test
