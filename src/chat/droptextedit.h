// SPDX-License-Identifier: MIT
#pragma once

#include "kvmess_export.h"

#include <QSet>
#include <QStringList>
#include <QTextEdit>

// The chat input. Whatever is attached to a message, picture or file, sits in
// it as an inline picture of the file's icon and name whose title is the local
// path; sending reads the paths back out of the HTML, so there is no separate
// list of attachments. Drops of file URLs insert them. GUI thread.
class KVMESS_EXPORT KvDropTextEdit : public QTextEdit
{
    Q_OBJECT
public:
    explicit KvDropTextEdit(QWidget *parent = nullptr);
    ~KvDropTextEdit() override;

    void insertFile(const QString &path);
    // The paths in document order, as the HTML has them (so "&" reads "&amp;").
    // With KvSafety on, only those that insertFile put there: a pasted picture
    // whose title names a path is no attachment.
    QStringList getFiles() const;
    // The plain text without the pictures, trimmed.
    QString getText() const;

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    // With KvSafety on, pasted files become attachments and anything else is
    // pasted as plain text, so pasted markup neither loads nor attaches.
    void insertFromMimeData(const QMimeData *source) override;

private:
    QSet<QString> insertedPaths;
};
