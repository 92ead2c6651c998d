#pragma once
#include <QByteArray>

#include <cstring>
#include <optional>
#include <type_traits>

namespace vennic {

/// The record that a body begins with which has been checked to have it.
template <class Record>
Record checkedRecordOf(const QByteArray& body) {
    static_assert(std::is_trivially_copyable_v<Record>);
    Q_ASSERT(body.size() >= static_cast<qsizetype>(sizeof(Record)));
    Record record;
    std::memcpy(&record, body.constData(), sizeof record);
    return record;
}

/// The record that a body is made of, or begins with; nothing when the body is shorter than it.
template <class Record>
std::optional<Record> leadingRecordOf(const QByteArray& body) {
    if (body.size() < static_cast<qsizetype>(sizeof(Record)))
        return std::nullopt;
    return checkedRecordOf<Record>(body);
}

/// The record that a body is made of; nothing when the body is longer or shorter.
template <class Record>
std::optional<Record> recordOf(const QByteArray& body) {
    return body.size() == static_cast<qsizetype>(sizeof(Record)) ? leadingRecordOf<Record>(body) : std::nullopt;
}

} // namespace vennic
