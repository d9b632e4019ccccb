// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QString>

class QLabel;
class QUrl;
class QWidget;

// The module's safety switch, one setting for the whole process, off unless the
// host turns it on. Off, the module trusts what peers send as it always did. On,
// received links open only for http, https and mailto, received markup reads no
// resource, a received file that runs code asks before it opens, blocking
// requests end after a transfer timeout, received files stream to disk, notices
// load only web pages, a friend is removed only on the server's success, and
// attachments come only from files the user chose.
//
// Set it once at start, before the first window; it is read on every thread.
class KVPLATFORM_EXPORT KvSafety
{
public:
    static void setEnabled(bool on);
    static bool enabled();

    // http, https and mailto.
    static bool isSafeLinkScheme(const QUrl &url);
    // Opens a link from received text. Switch off: hands every link to the
    // system. Switch on: only a safe scheme; any other gets a box saying the link
    // was not opened and why. Returns whether the link went to the system.
    static bool openLink(const QUrl &url, QWidget *parent);

    // Received markup with everything that makes Qt fetch a resource taken out
    // (pictures, style sheets, backgrounds, styles) and every other tag but a
    // few harmless text tags dropped. Used only with the switch on.
    static QString inertMarkup(const QString &html);
    // Shows received text in a label as the label would (markup when Qt takes
    // it for markup); with the switch on, that markup goes through inertMarkup.
    static void setReceivedText(QLabel *label, const QString &text);
    // The label's links go through openLink instead of straight to the system.
    static void routeLinks(QLabel *label);
    // A tooltip that shows `text` as written, never as markup.
    static QString plainToolTip(const QString &text);

    // Whether opening the file can run code: by suffix on Windows; .desktop,
    // .sh, .AppImage or an executable bit elsewhere.
    static bool runsCode(const QString &path);
    // Switch on and the file runs code: asks, with No as default. Returns
    // whether the file may be opened.
    static bool confirmOpenFile(const QString &path, QWidget *parent);

    // http or https.
    static bool isWebUrl(const QUrl &url);
    // The page of notice `id` at `url`: "%1?token=%2&id=%3". With the switch
    // on, a URL that is not http or https gives an empty address (a blank
    // view), and the token goes only to the hosts of the module's own services.
    static QString noticePageUrl(const QString &url, const QString &token, qint64 id);

    // The transfer timeout of blocking requests while the switch is on, 30 s.
    static int transferTimeout();
    // Tests only: a shorter timeout; 0 restores 30 s.
    static void setTransferTimeoutForTest(int ms);
};
