#include "app/raise_requests.h"

#include <unistd.h>

#include <QLocalSocket>

#include "platform/crc32c.h"

namespace tavelin {
namespace {

constexpr int kWaitMs = 1000;
constexpr char kRequest[] = "raise\n";

// One name a user and a settings folder: two installs of one user, or two
// users, never reach each other.
QString ServerName(const std::string& folder) {
  return QStringLiteral("tavelin-%1-%2")
      .arg(static_cast<qulonglong>(::getuid()))
      .arg(static_cast<qulonglong>(Crc32c(folder)), 8, 16, QLatin1Char('0'));
}

}  // namespace

RaiseRequests::RaiseRequests(const std::string& folder, std::function<void()> raise)
    : server_(std::make_unique<QLocalServer>()), raise_(std::move(raise)) {
  const QString name = ServerName(folder);
  // A socket left by a program that died: the lock is ours, so is the name.
  QLocalServer::removeServer(name);
  server_->setSocketOptions(QLocalServer::UserAccessOption);
  if (!server_->listen(name)) return;
  QObject::connect(server_.get(), &QLocalServer::newConnection, [this] {
    while (QLocalSocket* socket = server_->nextPendingConnection()) {
      QObject::connect(socket, &QLocalSocket::readyRead, socket, [this, socket] {
        if (socket->readAll().startsWith("raise") && raise_) raise_();
        socket->disconnectFromServer();
      });
      QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    }
  });
}

RaiseRequests::~RaiseRequests() = default;

bool RaiseRequests::AskRunning(const std::string& folder) {
  QLocalSocket socket;
  socket.connectToServer(ServerName(folder));
  if (!socket.waitForConnected(kWaitMs)) return false;
  socket.write(kRequest, sizeof kRequest - 1);
  return socket.waitForBytesWritten(kWaitMs);
}

}  // namespace tavelin
