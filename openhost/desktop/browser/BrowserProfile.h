// What the browser may do.
#pragma once

#include <QUrl>
#include <QWebEngineProfile>

namespace openhost {

/// Whether the panel may show `url`: https, or plain http on loopback, with no user name.
bool IsShowable(const QUrl& url);

/// A profile that keeps nothing on the disk, reaches only what IsShowable allows, takes no downloads, and has the
/// scripts of the host's channel for every page.
std::unique_ptr<QWebEngineProfile> MakeBrowserProfile();

} // namespace openhost
