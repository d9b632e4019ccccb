// SPDX-License-Identifier: MIT
#include "webengineview.h"

#include "safety.h"

#include <QWebEnginePage>
#include <QWebEngineSettings>

namespace {

// With the safety switch a notice page stays on the web: no file, data or
// custom scheme, whether asked for by the module or by the page itself.
class KvWebEnginePage : public QWebEnginePage
{
public:
    using QWebEnginePage::QWebEnginePage;

protected:
    bool acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame) override
    {
        if (KvSafety::enabled() && !KvSafety::isWebUrl(url))
            return false;
        return QWebEnginePage::acceptNavigationRequest(url, type, isMainFrame);
    }
};

} // namespace

KvWebEngineView::KvWebEngineView(QWidget *parent)
    : QWebEngineView(parent)
{
    // The pages are notices to read; the browser's own menu (back, reload,
    // view source) has no place here.
    setContextMenuPolicy(Qt::NoContextMenu);
    if (KvSafety::enabled()) {
        setPage(new KvWebEnginePage(this));
        QWebEngineSettings *settings = page()->settings();
        settings->setAttribute(QWebEngineSettings::LocalContentCanAccessFileUrls, false);
        settings->setAttribute(QWebEngineSettings::LocalContentCanAccessRemoteUrls, false);
    }
}

