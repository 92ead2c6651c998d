#include "linux/PublicMimeTypes.h"

#include <algorithm>
#include <array>

namespace vennic {

namespace {

struct Row {
    std::string_view type;
    std::string_view mime;
};

// Sorted by type.
constexpr std::array rows{
    Row{"com.adobe.encapsulated-postscript", "application/postscript"},
    Row{"com.adobe.illustrator.ai-image", "application/illustrator"},
    Row{"com.adobe.pdf", "application/pdf"},
    Row{"com.adobe.photoshop-image", "image/vnd.adobe.photoshop"},
    Row{"com.adobe.postscript", "application/postscript"},
    Row{"com.apple.disk-image-udif", "application/x-apple-diskimage"},
    Row{"com.apple.ical.ics", "text/calendar"},
    Row{"com.apple.log", "text/plain"},
    Row{"com.apple.m4a-audio", "audio/mp4"},
    Row{"com.apple.m4v-video", "video/x-m4v"},
    Row{"com.apple.mail.email", "message/rfc822"},
    Row{"com.apple.quicktime-movie", "video/quicktime"},
    Row{"com.compuserve.gif", "image/gif"},
    Row{"com.microsoft.bmp", "image/bmp"},
    Row{"com.microsoft.excel.xls", "application/vnd.ms-excel"},
    Row{"com.microsoft.ico", "image/vnd.microsoft.icon"},
    Row{"com.microsoft.powerpoint.ppt", "application/vnd.ms-powerpoint"},
    Row{"com.microsoft.typescript", "text/x-typescript"},
    Row{"com.microsoft.waveform-audio", "audio/vnd.wave"},
    Row{"com.microsoft.word.doc", "application/msword"},
    Row{"com.netscape.javascript-source", "text/javascript"},
    Row{"com.rarlab.rar-archive", "application/vnd.rar"},
    Row{"com.sun.java-archive", "application/java-archive"},
    Row{"com.sun.java-source", "text/x-java"},
    Row{"net.daringfireball.markdown", "text/markdown"},
    Row{"org.7-zip.7-zip-archive", "application/x-7z-compressed"},
    Row{"org.debian.deb-archive", "application/vnd.debian.binary-package"},
    Row{"org.gnu.gnu-zip-archive", "application/gzip"},
    Row{"org.gnu.gnu-zip-tar-archive", "application/x-compressed-tar"},
    Row{"org.golang.go-source", "text/x-go"},
    Row{"org.idpf.epub-container", "application/epub+zip"},
    Row{"org.iso.sql", "application/sql"},
    Row{"org.lua.lua-source", "text/x-lua"},
    Row{"org.matroska.mkv", "video/x-matroska"},
    Row{"org.oasis-open.opendocument.graphics", "application/vnd.oasis.opendocument.graphics"},
    Row{"org.oasis-open.opendocument.presentation", "application/vnd.oasis.opendocument.presentation"},
    Row{"org.oasis-open.opendocument.spreadsheet", "application/vnd.oasis.opendocument.spreadsheet"},
    Row{"org.oasis-open.opendocument.text", "application/vnd.oasis.opendocument.text"},
    Row{"org.openxmlformats.presentationml.presentation",
        "application/vnd.openxmlformats-officedocument.presentationml.presentation"},
    Row{"org.openxmlformats.spreadsheetml.sheet", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
    Row{"org.openxmlformats.wordprocessingml.document",
        "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
    Row{"org.rust-lang.rust-source", "text/rust"},
    Row{"org.tug.tex", "text/x-tex"},
    Row{"org.tukaani.xz-archive", "application/x-xz"},
    Row{"org.webmproject.webm", "video/webm"},
    Row{"org.webmproject.webp", "image/webp"},
    Row{"org.xiph.flac", "audio/flac"},
    Row{"org.xiph.ogg-audio", "audio/ogg"},
    Row{"org.xiph.opus", "audio/ogg"}, // RFC 7845, section 9: "audio/opus" is the stream without its file
    Row{"public.aac-audio", "audio/aac"},
    Row{"public.aiff-audio", "audio/x-aiff"},
    Row{"public.assembly-source", "text/x-asm"},
    Row{"public.avi", "video/x-msvideo"},
    Row{"public.avif", "image/avif"},
    Row{"public.bzip2-archive", "application/x-bzip2"},
    Row{"public.c-header", "text/x-chdr"},
    Row{"public.c-plus-plus-header", "text/x-c++hdr"},
    Row{"public.c-plus-plus-source", "text/x-c++src"},
    Row{"public.c-source", "text/x-csrc"},
    Row{"public.css", "text/css"},
    Row{"public.csv", "text/csv"},
    Row{"public.heic", "image/heic"},
    Row{"public.heif", "image/heif"},
    Row{"public.html", "text/html"},
    Row{"public.iso-image", "application/x-iso9660-image"},
    Row{"public.jpeg", "image/jpeg"},
    Row{"public.jpeg-2000", "image/jp2"},
    Row{"public.json", "application/json"},
    Row{"public.midi-audio", "audio/midi"},
    Row{"public.mp3", "audio/mpeg"},
    Row{"public.mpeg", "video/mpeg"},
    Row{"public.mpeg-4", "video/mp4"},
    Row{"public.objective-c-plus-plus-source", "text/x-objc++src"},
    Row{"public.objective-c-source", "text/x-objcsrc"},
    Row{"public.opentype-font", "font/otf"},
    Row{"public.patch-file", "text/x-patch"},
    Row{"public.perl-script", "application/x-perl"},
    Row{"public.php-script", "application/x-php"},
    Row{"public.plain-text", "text/plain"},
    Row{"public.png", "image/png"},
    Row{"public.python-script", "text/x-python"},
    Row{"public.rtf", "text/rtf"},
    Row{"public.ruby-script", "application/x-ruby"},
    Row{"public.shell-script", "application/x-shellscript"},
    Row{"public.svg-image", "image/svg+xml"},
    Row{"public.swift-source", "text/x-swift"},
    Row{"public.tab-separated-values-text", "text/tab-separated-values"},
    Row{"public.tar-archive", "application/x-tar"},
    Row{"public.tiff", "image/tiff"},
    Row{"public.truetype-ttf-font", "font/ttf"},
    Row{"public.vcard", "text/vcard"},
    Row{"public.xhtml", "application/xhtml+xml"},
    Row{"public.xml", "application/xml"},
    Row{"public.yaml", "application/yaml"},
    Row{"public.zip-archive", "application/zip"},
};
static_assert(std::ranges::is_sorted(rows, {}, &Row::type));

} // namespace

std::string_view publicMimeType(std::string_view type) {
    const auto* const found = std::ranges::lower_bound(rows, type, {}, &Row::type);
    return found != rows.end() && found->type == type ? found->mime : std::string_view();
}

} // namespace vennic
