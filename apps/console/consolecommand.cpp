// SPDX-License-Identifier: MIT
#include "consolecommand.h"

#include <QProcess>

namespace {

struct Entry
{
    const char *name;
    const char *sub;
    const char *arguments;
    int minArgs;
    int maxArgs; // -1: no upper limit
    bool groupFlag;
    const char *help;
};

// The one table of commands.
const Entry table[] = {
    {"login", "password", "USER PASSWORD", 2, 2, false, "sign in with a password"},
    {"login", "sms", "PHONE CODE", 2, 2, false, "sign in with a code sent by SMS (see \"code\")"},
    {"login", "scan", "SCENE", 1, 1, false, "sign in with a scanned scene"},
    {"login", "token", "", 0, 0, false, "succeed when the start signed in by the stored token"},
    {"code", nullptr, "PHONE", 1, 1, false, "ask the account service for a sign-in code by SMS"},
    {"logout", nullptr, "", 0, 0, false, "sign out and drop back to the visitor account"},
    {"autologin", nullptr, "on|off", 1, 1, false, "whether the next start signs in by the stored token"},
    {"whoami", nullptr, "", 0, 0, false, "the session: user, visitor or not, link state"},
    {"send", "text", "TO TEXT...", 2, -1, true, "send a text to a user (--group: an enterprise)"},
    {"send", "pic", "TO PATH", 2, 2, true, "send a picture"},
    {"send", "file", "TO PATH", 2, 2, true, "send a file, with progress on the terminal"},
    {"friends", nullptr, "", 0, 0, false, "list the friends"},
    {"enterprises", nullptr, "", 0, 0, false, "list the enterprises and their members"},
    {"conversations", nullptr, "", 0, 0, false, "list the conversations with their unread counts and newest message"},
    {"show", nullptr, "WITH", 1, 1, true, "show a conversation, oldest first, and mark it read (--group: an enterprise's)"},
    {"search", nullptr, "TEXT...", 1, -1, false, "find conversations by name and messages by text or file name"},
    {"requests", nullptr, "", 0, 0, false, "list the friend requests received"},
    {"friend", "add", "PHONE", 1, 1, false, "ask the owner of a phone number to be friends"},
    {"friend", "agree", "USER", 1, 1, false, "agree to a friend request"},
    {"friend", "refuse", "USER", 1, 1, false, "refuse a friend request"},
    {"friend", "remove", "USER", 1, 1, false, "end a friendship"},
    {"reconnect", nullptr, "", 0, 0, false, "drop the message link and connect afresh"},
    {"listen", nullptr, "[SECONDS]", 0, 1, false, "print events until interrupted, or for SECONDS"},
    {"wait", nullptr, "SECONDS", 1, 1, false, "let the session run for SECONDS"},
    {"quit", nullptr, "", 0, 0, false, "end the host"},
    {"help", nullptr, "", 0, 0, false, "this list"},
};

bool isGroupFlag(const QString &word)
{
    return word == QLatin1String("--group") || word == QLatin1String("-g");
}

QString syntax(const Entry &entry)
{
    QString text = QString::fromLatin1(entry.name);
    if (entry.groupFlag)
        text += QLatin1String(" [--group]");
    if (entry.sub)
        text += QLatin1Char(' ') + QString::fromLatin1(entry.sub);
    if (*entry.arguments)
        text += QLatin1Char(' ') + QString::fromLatin1(entry.arguments);
    return text;
}

} // namespace

QString KvConsoleCommand::label() const
{
    return sub.isEmpty() ? name : name + QLatin1Char(' ') + sub;
}

KvConsoleCommand KvConsoleCommand::parse(const QStringList &words)
{
    KvConsoleCommand command;
    if (words.isEmpty()) {
        command.error = QStringLiteral("empty command");
        return command;
    }
    command.name = words.first();
    QStringList rest = words.mid(1);

    QList<const Entry *> named;
    for (const Entry &entry : table) {
        if (command.name == QLatin1String(entry.name))
            named.append(&entry);
    }
    if (named.isEmpty()) {
        command.error = QStringLiteral("unknown command \"%1\" (see --help)").arg(command.name);
        return command;
    }

    const bool takesGroup = named.first()->groupFlag;
    if (takesGroup) {
        // The flag may stand before or after the sub-command, but not inside a text.
        for (int i = 0; i < rest.size() && i < 2; ++i) {
            if (isGroupFlag(rest.at(i))) {
                command.group = true;
                rest.removeAt(i);
                break;
            }
        }
    }

    const Entry *entry = named.first();
    if (named.first()->sub) {
        QStringList subs;
        entry = nullptr;
        for (const Entry *candidate : qAsConst(named)) {
            subs.append(QString::fromLatin1(candidate->sub));
            if (!rest.isEmpty() && rest.first() == QLatin1String(candidate->sub))
                entry = candidate;
        }
        if (!entry) {
            command.error = rest.isEmpty()
                ? QStringLiteral("\"%1\" needs one of: %2").arg(command.name, subs.join(QLatin1String(", ")))
                : QStringLiteral("unknown \"%1\" command \"%2\"; one of: %3")
                      .arg(command.name, rest.first(), subs.join(QLatin1String(", ")));
            return command;
        }
        command.sub = rest.takeFirst();
    }

    command.args = rest;
    if (rest.size() < entry->minArgs || (entry->maxArgs >= 0 && rest.size() > entry->maxArgs))
        command.error = QStringLiteral("usage: %1").arg(syntax(*entry));
    return command;
}

QStringList KvConsoleCommand::splitLine(const QString &line)
{
    const QString trimmed = line.trimmed();
    if (trimmed.isEmpty() || trimmed.startsWith(QLatin1Char('#')))
        return {};
    return QProcess::splitCommand(trimmed);
}

QList<QStringList> KvConsoleCommand::splitArguments(const QStringList &words)
{
    QList<QStringList> commands;
    QStringList current;
    for (const QString &word : words) {
        if (word == QLatin1String(";")) {
            if (!current.isEmpty())
                commands.append(current);
            current.clear();
        } else {
            current.append(word);
        }
    }
    if (!current.isEmpty())
        commands.append(current);
    return commands;
}

QString KvConsoleCommand::usage()
{
    int width = 0;
    for (const Entry &entry : table)
        width = qMax(width, syntax(entry).size());
    QString text;
    for (const Entry &entry : table)
        text += QStringLiteral("  %1  %2\n").arg(syntax(entry), -width).arg(QString::fromLatin1(entry.help));
    return text;
}
