// Where messages of the handlers script arrive.
#pragma once

#include <QObject>
#include <QString>

#include <functional>

namespace openhost {

/// The object `hostPanel` of the channel, which is reached from the world of the handlers script alone.
class HostChannel : public QObject {
    Q_OBJECT

public:
    using Receive = std::function<void(const QString& document, const QString& text)>;

    explicit HostChannel(Receive receive) : receive_(std::move(receive)) {}

    /// Takes a message of `document`. One that is too long is dropped.
    Q_INVOKABLE void sendMessage(const QString& document, const QString& text);

private:
    static constexpr qsizetype MaximumMessageLength = 4 << 20; ///< UTF-16 units

    Receive receive_;
};

} // namespace openhost
