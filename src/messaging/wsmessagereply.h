// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"
#include "wsmessage.h"

#include <QAbstractSocket>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <atomic>

class KvWSCommunicationPrivate;

// Follows one sent message until the server acknowledges it. Made by the
// connection only, on the sender's thread; finished() may come from the
// connection's thread, so listen with an automatic or queued connection.
//
// error() is final once finished() has been emitted: 100 is success (and also
// the value while the reply is running), 5 means no acknowledgement in time,
// any other value is the socket error that ended the connection. After a
// time-out isRunning() still answers true: go by finished() and error().
class KVMESS_EXPORT KvWSMessageReply : public QObject
{
    Q_OBJECT
public:
    // The numbers are those of QAbstractSocket::SocketError, plus 100.
    enum KvWSMessageError : int {
        UnknownSocketError = QAbstractSocket::UnknownSocketError,
        ConnectionRefusedError = QAbstractSocket::ConnectionRefusedError,
        RemoteHostClosedError = QAbstractSocket::RemoteHostClosedError,
        HostNotFoundError = QAbstractSocket::HostNotFoundError,
        SocketAccessError = QAbstractSocket::SocketAccessError,
        SocketResourceError = QAbstractSocket::SocketResourceError,
        SocketTimeoutError = QAbstractSocket::SocketTimeoutError,
        DatagramTooLargeError = QAbstractSocket::DatagramTooLargeError,
        NetworkError = QAbstractSocket::NetworkError,
        AddressInUseError = QAbstractSocket::AddressInUseError,
        SocketAddressNotAvailableError = QAbstractSocket::SocketAddressNotAvailableError,
        UnsupportedSocketOperationError = QAbstractSocket::UnsupportedSocketOperationError,
        UnfinishedSocketOperationError = QAbstractSocket::UnfinishedSocketOperationError,
        ProxyAuthenticationRequiredError = QAbstractSocket::ProxyAuthenticationRequiredError,
        SslHandshakeFailedError = QAbstractSocket::SslHandshakeFailedError,
        ProxyConnectionRefusedError = QAbstractSocket::ProxyConnectionRefusedError,
        ProxyConnectionClosedError = QAbstractSocket::ProxyConnectionClosedError,
        ProxyConnectionTimeoutError = QAbstractSocket::ProxyConnectionTimeoutError,
        ProxyNotFoundError = QAbstractSocket::ProxyNotFoundError,
        ProxyProtocolError = QAbstractSocket::ProxyProtocolError,
        OperationError = QAbstractSocket::OperationError,
        SslInternalError = QAbstractSocket::SslInternalError,
        SslInvalidUserDataError = QAbstractSocket::SslInvalidUserDataError,
        TemporaryError = QAbstractSocket::TemporaryError,
        NoError = 100,
    };
    Q_ENUM(KvWSMessageError)

    ~KvWSMessageReply() override;

    // Once acknowledged, the message holds the server's id and time.
    const KvWSMessagePtr &message() const { return m_message; }
    KvWSMessageError error() const { return m_errorCode; }
    bool isRunning() const { return m_running; }

Q_SIGNALS:
    void finished();

private:
    friend class KvWSCommunicationPrivate;

    KvWSMessageReply(const KvWSMessagePtr &message, KvWSCommunicationPrivate *communicationPrivate);
    void onFinished(KvWSMessageError error);
    void slotTimeout();

    KvWSMessagePtr m_message;
    KvWSMessageError m_errorCode = NoError;
    // Set by the sender's thread, cleared by the connection's.
    std::atomic<bool> m_running{false};
    QTimer m_timeoutTimer;
    // Not owned; guarded because a reply may outlive the connection.
    QPointer<KvWSCommunicationPrivate> m_communicationPrivate;
};
