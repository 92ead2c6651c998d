#include "linux/worker/AnswerCheck.h"

#include "base/Graphemes.h"
#include "base/Utf8.h"

#include <algorithm>

namespace vennic {

using wire::Form;
using wire::Outcome;

AnswerCheck::AnswerCheck(const wire::Request& request, qint64 sizeBefore, qint64 sizeAfter)
    : request_(request), least_(std::min(sizeBefore, sizeAfter)), most_(std::max(sizeBefore, sizeAfter)) {}

bool AnswerCheck::allows(const wire::Answer& answer) const {
    constexpr std::int32_t mostSystemError = 4095;
    if (answer.magic != wire::magic || answer.version != wire::version || answer.number != request_.number ||
        answer.truncated > 1)
        return false;
    if (answer.outcome != Outcome::text && (answer.textBytes != 0 || answer.truncated != 0))
        return false;
    switch (answer.outcome) {
    case Outcome::text:
        return answer.systemError == 0 && answer.fileBytes >= least_ && answer.fileBytes <= most_ &&
               answer.fileBytes <= wire::mostFileBytes &&
               answer.textBytes <= wire::mostTextBytes(request_.form, answer.fileBytes);
    case Outcome::unreadable:
        return answer.systemError > 0 && answer.systemError <= mostSystemError;
    case Outcome::unparsable:
        return request_.form != Form::plainText;
    case Outcome::tooLarge:
        return most_ > wire::mostFileBytes;
    }
    return false;
}

bool AnswerCheck::allows(const wire::Answer& answer, const QByteArray& text) const {
    const std::string_view view(text.constData(), static_cast<std::size_t>(text.size()));
    if (!isUtf8(view))
        return false;
    const std::uint64_t characters = graphemeCount(view);
    // Only a PDF may be cut before the asked number, where its text reaches its ceiling.
    const bool cutEarly = answer.truncated != 0 && characters < request_.mostCharacters;
    return characters <= request_.mostCharacters && (!cutEarly || request_.form == Form::pdf);
}

} // namespace vennic
