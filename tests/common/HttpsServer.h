#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QSslConfiguration>
#include <QSslServer>
#include <QString>
#include <optional>
#include <string>
#include <utility>

#include "common/TempDir.h"

namespace vorn::testing {

// A real HTTPS server on 127.0.0.1 for tests of code that fetches, on the
// thread that makes it, which must turn an event loop while a request is
// under way. Its certificate is made for it with the openssl tool and
// trusted by `clientConfiguration` alone.
class HttpsServer {
  public:
    struct Response {
        int status = 200;
        QByteArray body;
        QList<std::pair<QByteArray, QByteArray>> headers;
        // How long the server waits before it answers.
        int delayMilliseconds = 0;
        // A length above the body's makes the answer end half-way.
        std::optional<qint64> declaredLength;
    };

    HttpsServer();
    HttpsServer(const HttpsServer&) = delete;
    HttpsServer& operator=(const HttpsServer&) = delete;

    // Empty when the server runs; otherwise what went wrong.
    const std::string& problem() const { return failure; }

    // Paths without a response get a 404.
    void serve(const QString& path, Response response) { responses[path] = std::move(response); }
    std::string url(const QString& path) const;
    QSslConfiguration clientConfiguration() const;

    // The headers of the last request, by lower-case name.
    QMap<QByteArray, QByteArray> lastHeaders() const { return requestHeaders; }
    int requestCount() const { return requests; }

  private:
    bool makeCertificate();
    void accept();
    void answer(QSslSocket* socket, const QByteArray& request);

    TempDir folder;
    QSslServer server;
    QSslCertificate certificate;
    QMap<QString, Response> responses;
    QMap<QByteArray, QByteArray> requestHeaders;
    int requests = 0;
    std::string failure;
};

}  // namespace vorn::testing
