#pragma once
#include <map>
#include <memory>
#include <string>
#include <string_view>

struct UConverter;

namespace vennic::worker {

/// Decodes bytes of the code pages that RTF names (Windows and Macintosh numbers) into UTF-8.
class CodePages {
public:
    /// What doesn't decode gives U+FFFD. An unknown number is read as Windows 1252.
    void append(std::string& utf8, int codePage, std::string_view bytes);

private:
    struct Closer {
        void operator()(UConverter* converter) const;
    };
    UConverter* converter(int codePage);

    std::map<std::string_view, std::unique_ptr<UConverter, Closer>> open_; // by ICU's name
};

/// The code page of a font by its \fcharset; 0 when that says "the document's own".
int codePageOfCharset(int charset);

} // namespace vennic::worker
