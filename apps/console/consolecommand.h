// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// One command of the console host, parsed from its words.
//
// The table of commands lives in the source: it decides which names and
// sub-commands exist, how many arguments each takes, whether it accepts
// --group, and what --help says about it. A command that does not fit the
// table comes back with `error` set and is never run.
class KvConsoleCommand
{
public:
    QString name;
    QString sub;
    QStringList args;
    bool group = false;
    QString error;

    bool isValid() const { return error.isEmpty(); }
    // The words from the given argument on, joined by blanks: the text of "send text".
    QString rest(int from) const { return args.mid(from).join(QLatin1Char(' ')); }
    // "send text", "login password": how results and errors name the command.
    QString label() const;

    static KvConsoleCommand parse(const QStringList &words);
    // Words of one line of standard input, with shell-like quoting; a line
    // that is blank or starts with '#' has none.
    static QStringList splitLine(const QString &line);
    // The command-line words cut into commands at each lone ";".
    static QList<QStringList> splitArguments(const QStringList &words);
    // The command part of --help.
    static QString usage();
};
