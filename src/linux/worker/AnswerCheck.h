#pragma once
#include "base/DocumentWire.h"

#include <QByteArray>

namespace vennic {

/// What an honest document process could answer to a request about a file of these sizes.
class AnswerCheck {
public:
    /// The size before the request was sent and after the answer came: the file may have changed meanwhile.
    AnswerCheck(const wire::Request& request, qint64 sizeBefore, qint64 sizeAfter);

    /// Whether the record is one that an honest process could send. To be asked before any of the body is taken.
    bool allows(const wire::Answer& answer) const;
    /// Whether the body has the form's shape and says nothing that can't be, and agrees with the record.
    bool allows(const wire::Answer& answer, const QByteArray& body) const;

private:
    bool allowsThumbnail(const QByteArray& body) const;
    bool allowsText(const wire::Answer& answer, const QByteArray& text) const;

    wire::Request request_;
    qint64 least_;
    qint64 most_;
};

} // namespace vennic
