#pragma once
#include <QByteArray>
#include <QList>

namespace vennic::test {

/// Numbers the objects from 1, the first being the catalogue, and adds table and trailer.
inline QByteArray assemblePdf(const QList<QByteArray>& objects) {
    QByteArray out = "%PDF-1.4\n";
    QList<qsizetype> offsets;
    for (qsizetype i = 0; i < objects.size(); ++i) {
        offsets.append(out.size());
        out += QByteArray::number(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const qsizetype table = out.size();
    const QByteArray count = QByteArray::number(objects.size() + 1);
    out += "xref\n0 " + count + "\n0000000000 65535 f \n";
    for (const qsizetype offset : offsets)
        out += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    return out + "trailer\n<< /Size " + count + " /Root 1 0 R >>\nstartxref\n" + QByteArray::number(table) +
           "\n%%EOF\n";
}

inline QByteArray pdfStream(const QByteArray& data, const QByteArray& extra = {}) {
    return "<< /Length " + QByteArray::number(data.size()) + " " + extra + ">>\nstream\n" + data + "\nendstream";
}

/// One page with the given entries and the given reference or references as its contents; `more` are the objects from
/// 5 on.
inline QByteArray onePagePdf(const QByteArray& entries, const QByteArray& contents, const QList<QByteArray>& more,
                             const QByteArray& fontEntries = {}) {
    return assemblePdf(QList<QByteArray>{"<< /Type /Catalog /Pages 2 0 R >>",
                                         "<< /Type /Pages /Kids [4 0 R] /Count 1 >>",
                                         "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica " + fontEntries + ">>",
                                         "<< /Type /Page /Parent 2 0 R " + entries +
                                             " /Resources << /Font << /F1 3 0 R >> >> /Contents " + contents + " >>"} +
                       more);
}
inline QByteArray onePagePdf(const QByteArray& contents, const QList<QByteArray>& more) {
    return onePagePdf("/MediaBox [0 0 595 842]", contents, more);
}

inline QByteArray pdfSaying(const QByteArray& asciiLine) {
    return onePagePdf("5 0 R", {pdfStream("BT /F1 12 Tf 72 700 Td (" + asciiLine + ") Tj ET")});
}

/// One page that says "ab" in a font whose "b" is read as `meaning`, UTF-16 in hexadecimal digits.
inline QByteArray pdfReadAs(const QByteArray& meaning) {
    const QByteArray table =
        "/CIDInit /ProcSet findresource begin 12 dict begin begincmap /CMapName /T def /CMapType 2 "
        "def\n1 begincodespacerange <00> <ff> endcodespacerange\n"
        "2 beginbfchar <61> <0061> <62> <" +
        meaning + "> endbfchar endcmap end end";
    return onePagePdf("/MediaBox [0 0 595 842]", "5 0 R",
                      {pdfStream("BT /F1 12 Tf 72 700 Td (ab) Tj ET"), pdfStream(table)}, "/ToUnicode 6 0 R ");
}

/// Contents that unfold to `megabytes` of operators and take a fraction of it on disk: the object, which is to have
/// number `number`, and the references to it.
struct UnfoldingContents {
    QByteArray object;
    QByteArray references;
};
inline UnfoldingContents unfoldingContents(int megabytes, int number) {
    constexpr int atOnce = 16;
    QByteArray operators;
    while (operators.size() < (atOnce << 20))
        operators += "q Q ";
    const QByteArray packed = qCompress(operators, 9).mid(4); // without Qt's length
    QByteArray references = "[";
    for (int unfolded = 0; unfolded < megabytes; unfolded += atOnce)
        references += QByteArray::number(number) + " 0 R ";
    return {pdfStream(packed, "/Filter /FlateDecode "), references + "]"};
}

/// One page of such contents.
inline QByteArray flateBomb(int megabytes) {
    const UnfoldingContents contents = unfoldingContents(megabytes, 5);
    return onePagePdf(contents.references, {contents.object});
}

} // namespace vennic::test
