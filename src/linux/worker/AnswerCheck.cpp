#include "linux/worker/AnswerCheck.h"

#include "base/Graphemes.h"
#include "base/RecognitionLanguage.h"
#include "base/Utf8.h"
#include "linux/worker/AnswerRecord.h"
#include "linux/worker/PlainPng.h"

#include <QDate>
#include <QTime>

#include <algorithm>
#include <cmath>

namespace vennic {

using wire::Form;
using wire::Outcome;

namespace {
std::string_view viewOf(const QByteArray& bytes) { return {bytes.constData(), static_cast<std::size_t>(bytes.size())}; }

bool arePossible(const PhotoFacts& facts) {
    const bool isDate = facts.dated == 1 && QDate::isValid(facts.year, facts.month, facts.day) && facts.year <= 9999 &&
                        QTime::isValid(facts.hour, facts.minute, facts.second, facts.millisecond);
    const bool isZone = facts.zoned == 1 && facts.dated == 1 && std::abs(facts.offsetMinutes) <= 14 * 60;
    // Not-a-number is within no bounds.
    const bool isPlace = facts.placed == 1 && std::abs(facts.latitude) <= 90 && std::abs(facts.longitude) <= 180;
    return facts.format <= PictureFormat::raw && (facts.dated == 0 || isDate) && (facts.zoned == 0 || isZone) &&
           (facts.placed == 0 || isPlace) &&
           (facts.format != PictureFormat::none || (facts.dated == 0 && facts.placed == 0));
}

/// Recognised text comes with the languages that it was looked for in: at least one, of those that there are.
bool isRecognition(const QByteArray& body) {
    constexpr std::uint32_t all = (1U << recognitionLanguages.size()) - 1;
    const auto recognized = leadingRecordOf<wire::RecognizedIn>(body);
    return recognized && recognized->languages != 0 && (recognized->languages & ~all) == 0 &&
           isUtf8(viewOf(body).substr(sizeof *recognized));
}
} // namespace

AnswerCheck::AnswerCheck(const wire::Request& request, qint64 sizeBefore, qint64 sizeAfter)
    : request_(request), least_(std::min(sizeBefore, sizeAfter)), most_(std::max(sizeBefore, sizeAfter)) {}

bool AnswerCheck::allows(const wire::Answer& answer) const {
    constexpr std::int32_t mostSystemError = 4095;
    if (answer.magic != wire::magic || answer.version != wire::version || answer.number != request_.number ||
        answer.truncated > 1)
        return false;
    if (answer.outcome != Outcome::done && (answer.bodyBytes != 0 || answer.truncated != 0))
        return false;
    const qint64 mostFileBytes = wire::ceilingsOf(request_.form).fileBytes;
    switch (answer.outcome) {
    case Outcome::done:
        return answer.systemError == 0 && answer.fileBytes >= least_ && answer.fileBytes <= most_ &&
               answer.fileBytes <= mostFileBytes &&
               answer.bodyBytes <= wire::mostBodyBytes(request_.form, answer.fileBytes);
    case Outcome::unreadable:
        return answer.systemError > 0 && answer.systemError <= mostSystemError;
    case Outcome::unparsable:
        return request_.form != Form::plainText;
    case Outcome::tooLarge:
        return most_ > mostFileBytes;
    case Outcome::beyondBox:
        return true;
    case Outcome::unavailable:
        return request_.form == Form::pdfPageScan || request_.form == Form::imageText;
    }
    return false;
}

bool AnswerCheck::allows(const wire::Answer& answer, const QByteArray& body) const {
    if (answer.outcome != Outcome::done)
        return body.isEmpty();
    switch (request_.form) {
    case Form::plainText:
    case Form::rtf:
    case Form::pdf:
        return allowsText(answer, body);
    case Form::pdfPages: {
        const auto count = recordOf<wire::PageCount>(body);
        return answer.truncated == 0 && count && count->pages > 0 && count->pages <= wire::mostPages;
    }
    case Form::pdfPageText:
        return answer.truncated == 0 && isUtf8(viewOf(body));
    case Form::pdfPageScan:
    case Form::imageText:
        return answer.truncated == 0 && isRecognition(body);
    case Form::photoFacts: {
        const auto facts = recordOf<PhotoFacts>(body);
        return answer.truncated == 0 && facts && arePossible(*facts);
    }
    case Form::thumbnail:
        return answer.truncated == 0 && allowsThumbnail(body);
    }
    return false;
}

/// A picture is a PNG of the size that it says, within the square that was asked for.
bool AnswerCheck::allowsThumbnail(const QByteArray& body) const {
    const auto size = leadingRecordOf<wire::PictureSize>(body);
    const std::uint32_t edge = request_.parameters.edge;
    return size && size->width > 0 && size->width <= edge && size->height > 0 && size->height <= edge &&
           isPlainPng(body.sliced(sizeof(wire::PictureSize)), *size);
}

/// A text is no longer than asked.
bool AnswerCheck::allowsText(const wire::Answer& answer, const QByteArray& text) const {
    if (!isUtf8(viewOf(text)))
        return false;
    const std::uint64_t most = request_.parameters.mostCharacters;
    const std::uint64_t characters = graphemeCount(viewOf(text));
    // Only a PDF may be cut before the asked number, where its text reaches its ceiling.
    const bool cutEarly = answer.truncated != 0 && characters < most;
    return characters <= most && (!cutEarly || request_.form == Form::pdf);
}

} // namespace vennic
