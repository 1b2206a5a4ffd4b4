#include "common/HttpsServer.h"

#include <QFile>
#include <QHostAddress>
#include <QSslKey>
#include <QSslSocket>
#include <QTimer>

#include "service/Shell.h"

namespace vorn::testing {

namespace {

QByteArray readAll(const std::filesystem::path& file) {
    QFile input(QString::fromStdString(file.string()));
    return input.open(QIODevice::ReadOnly) ? input.readAll() : QByteArray();
}

QByteArray encoded(const HttpsServer::Response& response) {
    QByteArray text = "HTTP/1.1 " + QByteArray::number(response.status) +
                      (response.status == 200 ? " OK" : " Answer") + "\r\n";
    text += "Content-Length: " +
            QByteArray::number(response.declaredLength.value_or(response.body.size())) + "\r\n";
    text += "Connection: close\r\n";
    for (const auto& [name, value] : response.headers)
        text += name + ": " + value + "\r\n";
    return text + "\r\n" + response.body;
}

}  // namespace

HttpsServer::HttpsServer() {
    if (!makeCertificate()) return;
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificate(certificate);
    configuration.setPrivateKey(QSslKey(readAll(folder / "key.pem"), QSsl::Ec));
    server.setSslConfiguration(configuration);
    QObject::connect(&server, &QSslServer::pendingConnectionAvailable, [this] { accept(); });
    if (!server.listen(QHostAddress::LocalHost, 0)) failure = server.errorString().toStdString();
}

bool HttpsServer::makeCertificate() {
    const ShellResult made = Shell::run(
        "/usr/bin/openssl",
        {"req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
         "-keyout", (folder / "key.pem").string(), "-out", (folder / "cert.pem").string(), "-days",
         "2", "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1"},
        std::nullopt, std::nullopt, 60);
    if (!made.ok()) {
        failure = "openssl: " + made.output();
        return false;
    }
    certificate = QSslCertificate(readAll(folder / "cert.pem"));
    if (certificate.isNull()) failure = "the new certificate can't be read";
    return failure.empty();
}

std::string HttpsServer::url(const QString& path) const {
    return "https://127.0.0.1:" + std::to_string(server.serverPort()) + path.toStdString();
}

QSslConfiguration HttpsServer::clientConfiguration() const {
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates({certificate});
    return configuration;
}

void HttpsServer::accept() {
    while (QSslSocket* socket = qobject_cast<QSslSocket*>(server.nextPendingConnection())) {
        auto* received = new QByteArray;
        QObject::connect(socket, &QObject::destroyed, [received] { delete received; });
        QObject::connect(socket, &QSslSocket::disconnected, socket, &QObject::deleteLater);
        QObject::connect(socket, &QSslSocket::readyRead, socket, [this, socket, received] {
            *received += socket->readAll();
            if (received->contains("\r\n\r\n")) answer(socket, std::exchange(*received, {}));
        });
    }
}

void HttpsServer::answer(QSslSocket* socket, const QByteArray& request) {
    ++requests;
    const QList<QByteArray> lines = request.split('\n');
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    requestHeaders.clear();
    for (const QByteArray& line : lines.mid(1)) {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0) requestHeaders[line.left(colon).toLower()] = line.mid(colon + 1).trimmed();
    }
    const QString path = QString::fromUtf8(requestLine.value(1));
    const Response response = responses.value(path, Response{404, "not here"});
    // The socket is the timer's context: a client that gave up and went
    // takes the answer with it.
    QTimer::singleShot(response.delayMilliseconds, socket, [socket, text = encoded(response)] {
        socket->write(text);
        socket->disconnectFromHost();
    });
}

}  // namespace vorn::testing
