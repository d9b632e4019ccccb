// SPDX-License-Identifier: MIT
#include "browserdialog.h"

#include "safety.h"
#include "webengineview.h"

#include <QVBoxLayout>

KvBrowserDialog::KvBrowserDialog(QWidget *parent)
    : QDialog(parent)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    resize(940, 700);
}

void KvBrowserDialog::load(const QUrl &url)
{
    m_url = url;
    if (m_view)
        m_view->load(url);
}

QWebEngineView *KvBrowserDialog::view()
{
    if (!m_view) {
        // With the safety switch the page stays on the web and reads no file.
        m_view = KvSafety::enabled() ? new KvWebEngineView(this) : new QWebEngineView(this);
        layout()->addWidget(m_view);
        if (m_url.isValid())
            m_view->load(m_url);
    }
    return m_view;
}

void KvBrowserDialog::showEvent(QShowEvent *event)
{
    // The web engine starts with the first page shown, not with the dialog.
    view();
    QDialog::showEvent(event);
}
