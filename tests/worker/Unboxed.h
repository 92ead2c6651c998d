#pragma once
#include "linux/worker/OpenedDocument.h"
#include "worker/Reader.h"

#include <algorithm>
#include <span>

namespace vennic::test {

/// What the reader of `form` says in this very process, without a box.
inline worker::ReadResult readUnboxed(std::span<const worker::Reader> readers, wire::Form form, const QString& path,
                                      const wire::Parameters& parameters) {
    const qint64 most = wire::ceilingsOf(form).fileBytes;
    const OpenedDocument opened(path, most);
    const auto document = worker::Document::read(opened.descriptor(), opened.number(), most);
    const auto reader = std::ranges::find(readers, form, &worker::Reader::form);
    return reader->read(document, parameters);
}

} // namespace vennic::test
