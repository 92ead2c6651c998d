#!/usr/bin/env python3
"""Makes the documents of this folder that no editor would write for us. Standard library only; groff makes two more:
    groff -Tpdf -k -ms letter.ms > groff-letter.pdf
    groff -Tpdf -k -ms columns.ms > groff-columns.pdf
"""
import hashlib
import zlib


def assemble(objects, trailer_extra=b''):
    out = b'%PDF-1.4\n%\xe2\xe3\xcf\xd3\n'
    offsets = []
    for number, body in enumerate(objects, 1):
        offsets.append(len(out))
        out += b'%d 0 obj\n' % number + body + b'\nendobj\n'
    start = len(out)
    out += b'xref\n0 %d\n0000000000 65535 f \n' % (len(objects) + 1)
    out += b''.join(b'%010d 00000 n \n' % offset for offset in offsets)
    out += b'trailer\n<< /Size %d /Root 1 0 R %s>>\nstartxref\n%d\n%%%%EOF\n' % (len(objects) + 1, trailer_extra, start)
    return out


def stream(data, extra=b''):
    return b'<< /Length %d %s>>\nstream\n' % (len(data), extra) + data + b'\nendstream'


HELVETICA = b'<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>'


def pdf(pages, font=HELVETICA, more=(), box=b'0 0 595 842', page_extra=b''):
    kids = b' '.join(b'%d 0 R' % (4 + 2 * i) for i in range(len(pages)))
    objects = [b'<< /Type /Catalog /Pages 2 0 R >>', b'<< /Type /Pages /Kids [%s] /Count %d >>' % (kids, len(pages)), font]
    for i, content in enumerate(pages):
        objects.append(b'<< /Type /Page /Parent 2 0 R /MediaBox [%s] %s/Resources << /Font << /F1 3 0 R >> >> /Contents %d 0 R >>'
                       % (box, page_extra, 5 + 2 * i))
        objects.append(stream(content))
    return objects + list(more)


def show(*lines):
    out = b'BT /F1 12 Tf 72 740 Td 16 TL'
    for line in lines:
        text = line if isinstance(line, bytes) else b'(' + line.encode('cp1252').replace(b'(', b'\\(').replace(b')', b'\\)') + b')'
        out += b' ' + text + b" '"
    return out + b' ET'


def write(name, data):
    with open(name, 'wb') as file:
        file.write(data)


write('small.pdf', assemble(pdf([show('Bonjour, voici une petite page.', 'Elle a deux lignes.')])))
write('accents.pdf', assemble(pdf([show('Élève à l’école, où l’œuvre coûte 12 €.', 'Ça va (très) bien — merci…')])))
write('three-pages.pdf', assemble(pdf([show('Première page.'), b'', show('Troisième page.')])))
write('no-text.pdf', assemble(pdf([b'0 0 100 100 re f', b''])))
write('rotated.pdf', assemble(pdf([show('Page tournée.')], page_extra=b'/Rotate 90 ')))
write('compressed.pdf', assemble(pdf([])[:0] + [
    b'<< /Type /Catalog /Pages 2 0 R >>', b'<< /Type /Pages /Kids [4 0 R] /Count 1 >>', HELVETICA,
    b'<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Resources << /Font << /F1 3 0 R >> >> /Contents 5 0 R >>',
    stream(zlib.compress(show('Texte comprimé.')), b'/Filter /FlateDecode ')]))
write('hundred-pages.pdf', assemble(pdf([show('Page %d sur cent.' % i, 'Une phrase ordinaire qui se répète.') for i in range(1, 101)])))
# Japanese in a font that isn't embedded: its characters are known from Poppler's data files alone.
japanese = b'<< /Type /Font /Subtype /Type0 /BaseFont /Ryumin-Light /Encoding /90ms-RKSJ-H /DescendantFonts [6 0 R] >>'
write('japanese.pdf', assemble(pdf([show(b'<' + '日本語の文書です'.encode('cp932').hex().encode() + b'>')], japanese, [
    b'<< /Type /Font /Subtype /CIDFontType0 /BaseFont /Ryumin-Light /CIDSystemInfo << /Registry (Adobe) /Ordering (Japan1) /Supplement 2 >> /FontDescriptor 7 0 R >>',
    b'<< /Type /FontDescriptor /FontName /Ryumin-Light /Flags 6 /FontBBox [0 -200 1000 900] /ItalicAngle 0 /Ascent 800 /Descent -200 /CapHeight 700 /StemV 80 >>'])))
# Codes that mean nothing but by a ToUnicode table, one of them a pair of code points.
table = b'''/CIDInit /ProcSet findresource begin 12 dict begin begincmap /CMapName /T def /CMapType 2 def
1 begincodespacerange <00> <ff> endcodespacerange
3 beginbfchar <01> <00e9> <02> <00660069> <03> <d83dde00> endbfchar endcmap end end'''
write('to-unicode.pdf', assemble(pdf([show(b'(\\001\\002n \\003)')],
    b'<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /ToUnicode 6 0 R >>', [stream(table)])))

PAD = bytes.fromhex('28BF4E5E4E758A4164004E56FFFA01082E2E00B6D0683E802F0CA9FE6453697A')


def rc4(key, data):
    s = list(range(256))
    j = 0
    for i in range(256):
        j = (j + s[i] + key[i % len(key)]) % 256
        s[i], s[j] = s[j], s[i]
    i = j = 0
    out = bytearray()
    for byte in data:
        i = (i + 1) % 256
        j = (j + s[i]) % 256
        s[i], s[j] = s[j], s[i]
        out.append(byte ^ s[(s[i] + s[j]) % 256])
    return bytes(out)


def encrypted(user, owner, content):
    """Standard security handler, revision 2 (40 bit)."""
    identifier = hashlib.md5(b'vennic' + user).digest()
    padded = (user + PAD)[:32]
    o = rc4(hashlib.md5((owner + PAD)[:32]).digest()[:5], padded)
    permissions = -44
    key = hashlib.md5(padded + o + permissions.to_bytes(4, 'little', signed=True) + identifier).digest()[:5]
    u = rc4(key, PAD)
    objects = pdf([content])
    number = 5
    objects[number - 1] = stream(rc4(hashlib.md5(key + number.to_bytes(3, 'little') + b'\0\0').digest()[:10], content))
    objects.append(b'<< /Filter /Standard /V 1 /R 2 /O <%s> /U <%s> /P %d >>' % (o.hex().encode(), u.hex().encode(), permissions))
    return assemble(objects, b'/Encrypt %d 0 R /ID [<%s> <%s>] ' % (len(objects), identifier.hex().encode(), identifier.hex().encode()))


write('locked.pdf', encrypted(b'secret', b'secret', show('Page secrete.')))
write('owner-locked.pdf', encrypted(b'', b'secret', show('Page lisible par tous.')))
whole = assemble(pdf([show('Une page qui sera coupee.')]))
write('truncated.pdf', whole[:len(whole) * 2 // 3])
write('garbage.pdf', b'%PDF-1.4\n' + bytes((i * 73 + 11) % 256 for i in range(3000)))
write('not-a.pdf', 'Ceci n’est pas un PDF.'.encode())
depth = 3000  # page tree nodes inside each other
nest = [b'<< /Type /Catalog /Pages 2 0 R >>']
nest += [b'<< /Type /Pages /Kids [%d 0 R] /Count 1 /Parent %d 0 R >>' % (i + 1, i - 1) for i in range(2, depth)]
nest += [b'<< /Type /Page /Parent %d 0 R /MediaBox [0 0 9 9] >>' % (depth - 1)]
write('deep-tree.pdf', assemble(nest))
write('cyclic-tree.pdf', assemble([b'<< /Type /Catalog /Pages 2 0 R >>', b'<< /Type /Pages /Kids [2 0 R 2 0 R] /Count 100000000 /Parent 2 0 R >>']))
write('huge-page.pdf', assemble(pdf([show('Une page immense.')], box=b'0 0 100000000 100000000')))

french = 'Été à Noël : l’élève naïf a payé 3 € au café.\nDeuxième ligne, où tout va bien.\n'
latin = 'Été à Noël : un élève naïf au café.\nDeuxième ligne, où tout va bien.\n'
write('utf8.txt', french.encode())
write('utf8-mark.txt', b'\xef\xbb\xbf' + french.encode())
write('utf16le-mark.txt', b'\xff\xfe' + (french + '😀').encode('utf-16-le'))
write('utf16be-mark.txt', b'\xfe\xff' + (french + '😀').encode('utf-16-be'))
write('utf16le.txt', latin.encode('utf-16-le'))
write('utf16be.txt', latin.encode('utf-16-be'))
write('latin1-even.txt', latin.encode('latin-1')[:66])
write('latin1-odd.txt', latin.encode('latin-1')[:65])
write('empty.txt', b'')
write('emoji.txt', 'famille 👨‍👩‍👧‍👦, drapeau 🇫🇷, e\u0301, 각\r\nfin'.encode())
write('zeros.txt', b'un\0deux\0trois')
write('bytes.txt', bytes(range(256)))
