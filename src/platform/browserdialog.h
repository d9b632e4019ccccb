// SPDX-License-Identifier: MIT
#pragma once

#include "kvplatform_export.h"

#include <QDialog>
#include <QUrl>

class QWebEngineView;

// A dialog that shows one web page. The web view is made when the dialog is
// first shown, so a dialog that is never shown costs no web engine.
class KVPLATFORM_EXPORT KvBrowserDialog : public QDialog
{
    Q_OBJECT
public:
    explicit KvBrowserDialog(QWidget *parent = nullptr);

    void load(const QUrl &url);
    QUrl url() const { return m_url; }
    QWebEngineView *view();

protected:
    void showEvent(QShowEvent *event) override;

private:
    QWebEngineView *m_view = nullptr;
    QUrl m_url;
};
