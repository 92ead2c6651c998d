#include "worker/thumbnail/PictureForm.h"

#include <gtest/gtest.h>
#include <string>

using namespace vennic::worker;
using namespace std::string_literals;

TEST(PictureForm, isToldByTheFirstBytes) {
    EXPECT_EQ(pictureForm("\x89PNG\r\n\x1a\n..."), PictureForm::png);
    EXPECT_EQ(pictureForm("\xff\xd8\xff\xe0..."), PictureForm::jpeg);
    EXPECT_EQ(pictureForm("GIF87a"), PictureForm::gif);
    EXPECT_EQ(pictureForm("GIF89a"), PictureForm::gif);
    EXPECT_EQ(pictureForm("BM......"), PictureForm::bmp);
    EXPECT_EQ(pictureForm("II*\0"s), PictureForm::tiff);
    EXPECT_EQ(pictureForm("MM\0+"s), PictureForm::tiff);
    EXPECT_EQ(pictureForm("RIFF\0\0\0\0WEBPVP8 "s), PictureForm::webp);
    EXPECT_EQ(pictureForm("\0\0\0\x18"
                          "ftypheic\0\0\0\0"s),
              PictureForm::heif);
    EXPECT_EQ(pictureForm("\0\0\0\x18"
                          "ftypavif\0\0\0\0"s),
              PictureForm::heif);
    EXPECT_EQ(pictureForm("%PDF-1.7\n"), PictureForm::pdf);
    EXPECT_EQ(pictureForm("\x1f\x8b\x08..."), PictureForm::svg);
}

TEST(PictureForm, ofAnythingElseIsNone) {
    for (const std::string& bytes : {""s, "\x89PNG"s, "\xff\xd8"s, "GIF88a"s, "RIFF\0\0\0\0WAVE"s, "RIFF"s,
                                     "\0\0\0\x18"
                                     "ftypisom\0\0\0\0"s,
                                     "ftypheic"s, "hello"s, "<html><svg/></html>"s, "<svgx/>"s, "svg"s, "<"s, "<?xml"s,
                                     "<!--"s, "<!DOCTYPE"s, "PK\x03\x04"s, std::string(100, '\0')})
        EXPECT_EQ(pictureForm(bytes), PictureForm::none) << bytes;
}

TEST(PictureForm, aDrawingIsFoundBehindItsProlog) {
    for (const std::string& bytes :
         {"<svg/>"s, "<svg>"s, "<svg\nwidth='1'/>"s, "\xef\xbb\xbf\n <svg/>"s, "<svg:svg xmlns:svg='x'/>"s,
          "<?xml version='1.0'?>\n<svg/>"s, "<!-- <html> --><svg/>"s,
          "<?xml version='1.0'?><!-- a --><!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\" \"u\"><!-- b --> <svg/>"s,
          "<!DOCTYPE svg [ <!ENTITY a '>'> ]><svg/>"s, "<!DOCTYPE svg [ <!ENTITY a ''> ] ><svg/>"s})
        EXPECT_EQ(pictureForm(bytes), PictureForm::svg) << bytes;
    EXPECT_EQ(pictureForm("<!--" + std::string(100'000, 'x') + "--><svg/>"), PictureForm::none);
}

TEST(PictureForm, aPdfMayBeginALittleLate) {
    EXPECT_EQ(pictureForm(std::string(1000, ' ') + "%PDF-1.4"), PictureForm::pdf);
    EXPECT_EQ(pictureForm(std::string(1020, ' ') + "%PDF-1.4"), PictureForm::none);
}
