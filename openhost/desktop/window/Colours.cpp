#include "openhost/desktop/window/Colours.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QPalette>
#include <QStyleFactory>

namespace openhost {

namespace {

QPalette LightPalette()
{
    QPalette palette(QColor(0xef, 0xef, 0xef));
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::PlaceholderText, QColor(0x59, 0x59, 0x59));
    palette.setColor(QPalette::Highlight, QColor(0x1a, 0x5f, 0xb4));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

QPalette DarkPalette()
{
    QPalette palette(QColor(0x2d, 0x2f, 0x33));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, QColor(0xee, 0xee, 0xee));
    palette.setColor(QPalette::Base, QColor(0x1f, 0x21, 0x24));
    palette.setColor(QPalette::AlternateBase, QColor(0x27, 0x29, 0x2d));
    palette.setColor(QPalette::ToolTipBase, QColor(0x3a, 0x3d, 0x42));
    palette.setColor(QPalette::PlaceholderText, QColor(0xa8, 0xac, 0xb3));
    palette.setColor(QPalette::Link, QColor(0x8a, 0xb4, 0xf8));
    palette.setColor(QPalette::Highlight, QColor(0x2f, 0x6f, 0xd0));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(0x8c, 0x90, 0x96));
    return palette;
}

int wishes = 0; ///< an answer about an earlier wish is out of date

void Use(bool dark)
{
    QApplication::setPalette(dark ? DarkPalette() : LightPalette());
}

/// Asks the desktop as https://flatpak.github.io/xdg-desktop-portal tells. No answer changes nothing.
void AskSystem()
{
    constexpr uint prefersDark = 1;
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    QDBusMessage question = QDBusMessage::createMethodCall(
        "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings", "Read");
    question << QString("org.freedesktop.appearance") << QString("color-scheme");
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(question), qApp);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, qApp, [answer, wish = wishes] {
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        answer->deleteLater();
        if (!reply.isError() && wish == wishes)
            Use(reply.value().variant().value<QDBusVariant>().variant().toUInt() == prefersDark);
    });
}

} // namespace

void UseColours(Colours colours)
{
    ++wishes;
    Use(colours == Colours::Dark);
    if (colours == Colours::System)
        AskSystem();
}

} // namespace openhost
