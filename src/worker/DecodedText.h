#pragma once
#include <string>
#include <string_view>

namespace vennic::worker {

/// The bytes of a text file as UTF-8: UTF-8 when they are well-formed, else UTF-16, else ISO Latin 1. A byte order mark
/// at the beginning isn't part of the text.
///
/// UTF-16 is believed when a byte order mark says so, or when the zero bytes show the order: nearly any Latin 1 text of
/// even length would pass as UTF-16 otherwise.
///
/// `most` is the number of user-perceived characters of interest: at least that many are decoded where the bytes have
/// them, and at least one more when there are more.
class DecodedText {
public:
    DecodedText(std::string_view bytes, std::size_t most);
    std::string_view text() const { return borrowed_.data() != nullptr ? borrowed_ : std::string_view(owned_); }

private:
    std::string_view borrowed_; // into the bytes, when they are UTF-8 already
    std::string owned_;
};

} // namespace vennic::worker
