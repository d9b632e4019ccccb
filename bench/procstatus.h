// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

// Memory figures of a process from /proc, for the benchmarks. `pid` 0 is this
// process.

inline QString procFile(qint64 pid, const char *name)
{
    return pid ? QStringLiteral("/proc/%1/%2").arg(pid).arg(QLatin1String(name))
               : QStringLiteral("/proc/self/%1").arg(QLatin1String(name));
}

// A field of /proc/<pid>/status in KiB: "VmRSS:" now, "VmHWM:" the peak; 0 when unreadable.
inline qint64 statusKiB(const char *key, qint64 pid = 0)
{
    QFile status(procFile(pid, "status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(key))
            return line.mid(int(qstrlen(key))).trimmed().split(' ').first().toLongLong();
    }
    return 0;
}

// Resets the kernel's peak of the resident set to what is resident now.
inline bool resetPeak(qint64 pid = 0)
{
    QFile refs(procFile(pid, "clear_refs"));
    return refs.open(QIODevice::WriteOnly) && refs.write("5") == 1;
}
