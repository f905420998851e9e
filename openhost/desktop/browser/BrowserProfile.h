// What the browser may do.
#pragma once

#include <QUrl>
#include <QWebEngineProfile>
#include <QWebEngineScript>

namespace openhost {

/// Whether the panel may show `url`: https, or plain http on loopback, with no user name.
bool IsShowable(const QUrl& url);

/// The worlds of scripts beside the page's own.
inline constexpr quint32 HandlersWorld = QWebEngineScript::UserWorld + 1;    ///< the handlers script, with the channel
inline constexpr quint32 InjectedWorld = QWebEngineScript::ApplicationWorld; ///< all scripts of modules
inline constexpr quint32 UserWorld = QWebEngineScript::UserWorld;            ///< a session's steps

/// A profile that keeps nothing on the disk, reaches only what IsShowable allows, takes no downloads, and has for every
/// page the host's channel in the world of the handlers, `hostPanel`, and the number of the document in that of the
/// injected scripts, `hostDocument`.
std::unique_ptr<QWebEngineProfile> MakeBrowserProfile();

} // namespace openhost
