// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>

class QSocketNotifier;

// Lines of standard input, as they come, without blocking the event loop.
// Works on a terminal, a pipe and a plain file alike.
class KvConsoleInput : public QObject
{
    Q_OBJECT
public:
    explicit KvConsoleInput(int fd, QObject *parent = nullptr);

    bool atEnd() const { return m_atEnd; }

Q_SIGNALS:
    void signalLine(QString line);
    void signalEnd();

private Q_SLOTS:
    void slotReadable();

private:
    int m_fd;
    bool m_atEnd = false;
    QByteArray m_buffer;
    QSocketNotifier *m_notifier = nullptr;
};
