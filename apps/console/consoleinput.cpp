// SPDX-License-Identifier: MIT
#include "consoleinput.h"

#include <QSocketNotifier>
#include <QString>

#include <cerrno>
#include <unistd.h>

KvConsoleInput::KvConsoleInput(int fd, QObject *parent) : QObject(parent), m_fd(fd)
{
    m_notifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &KvConsoleInput::slotReadable);
}

void KvConsoleInput::slotReadable()
{
    char chunk[4096];
    const ssize_t count = ::read(m_fd, chunk, sizeof chunk);
    if (count < 0 && (errno == EINTR || errno == EAGAIN))
        return;
    if (count > 0)
        m_buffer.append(chunk, int(count));

    int newline;
    while ((newline = m_buffer.indexOf('\n')) >= 0) {
        const QByteArray line = m_buffer.left(newline);
        m_buffer.remove(0, newline + 1);
        emit signalLine(QString::fromUtf8(line));
    }
    if (count <= 0) {
        m_notifier->setEnabled(false);
        m_atEnd = true;
        if (!m_buffer.isEmpty()) {
            const QByteArray last = m_buffer;
            m_buffer.clear();
            emit signalLine(QString::fromUtf8(last));
        }
        emit signalEnd();
    }
}
