#pragma once
#include <QString>

#include <exception>

namespace vennic {

/// The family of all errors that an operation raises. `errorDescription()` is the French sentence for the user.
class LocalizedError : public std::exception {
public:
    explicit LocalizedError(QString description) : description_(std::move(description)), utf8_(description_.toUtf8()) {}
    const QString& errorDescription() const noexcept { return description_; }
    const char* what() const noexcept override { return utf8_.constData(); }

private:
    QString description_;
    QByteArray utf8_;
};

/// The sentence for the user of any exception: its own when it has one, else its `what()`.
inline QString localizedDescription(const std::exception& error) {
    if (const auto* localized = dynamic_cast<const LocalizedError*>(&error))
        return localized->errorDescription();
    return QString::fromUtf8(error.what());
}

} // namespace vennic
