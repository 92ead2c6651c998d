#pragma once
#include <QByteArray>
#include <QDebug>
#include <QString>

#include <memory>

namespace vennic {

/// A secret (UTF-8 bytes) that prints as dots, has no implicit conversion, is wiped when its last copy goes, and
/// lies in a locked page that stays out of core files. Copies share the page.
class SecretText {
public:
    SecretText() = default;
    explicit SecretText(QByteArrayView text);
    /// The bytes themselves, alive as long as this object. Callers keep no other copy longer than a call.
    QByteArrayView reveal() const noexcept;
    bool isEmpty() const noexcept { return reveal().isEmpty(); }
    /// Without the white space and newlines at both ends.
    SecretText trimmed() const;
    friend bool operator==(const SecretText& a, const SecretText& b) noexcept; // constant time for equal lengths

private:
    class Page;
    std::shared_ptr<const Page> page_;
};

QDebug operator<<(QDebug debug, const SecretText& secret);

/// Overwrites a temporary that held a secret, unless somebody shares it, and empties it.
void wipe(QByteArray& bytes) noexcept;
void wipe(QString& text) noexcept;

} // namespace vennic
