#!/usr/bin/env python3
"""Writes RTF in the manner of several programs. Standard library only. What each should give stands beside it in .txt."""


def write(name, text, encoding='ascii'):
    with open(name, 'wb') as file:
        file.write(text if isinstance(text, bytes) else text.encode(encoding))


write('word.rtf', r'''{\rtf1\adeflang1025\ansi\ansicpg1252\uc1\adeff0\deff0\stshfdbch31505\stshfloch31506\stshfhich31506\stshfbi31507\deflang1036\deflangfe1036\themelang1036
{\fonttbl{\f0\fbidi \froman\fcharset0\fprq2{\*\panose 02020603050405020304}Times New Roman;}{\f1\fbidi \fswiss\fcharset0\fprq2 Arial;}
{\f3\fbidi \froman\fcharset2\fprq2{\*\panose 05050102010706020507}Symbol;}{\f37\fbidi \fswiss\fcharset238\fprq2 Calibri CE;}}
{\colortbl;\red0\green0\blue0;\red0\green0\blue255;}{\*\defchp \f31506\fs22 }{\stylesheet{\ql \li0\ri0 \rtlch\fcs1 \af0 \ltrch\fcs0 \fs22 \snext0 Normal;}{\s1 heading 1;}}
{\*\listtable{\list\listtemplateid1{\listlevel\levelnfc23{\leveltext\'01\u-3913 ?;}{\levelnumbers;}\f3}{\listname ;}\listid7}}{\*\rsidtbl \rsid1\rsid2}{\*\generator Made by hand;}
{\info{\title Un titre cach\'e9}{\author Quelqu\'92un}{\creatim\yr2024\mo1\dy2}}\paperw11906\paperh16838\margl1417 \widowctrl
{\header \pard\plain En-t\'eate de page\par }{\footer \pard\plain Pied de page {\field{\*\fldinst { PAGE }}{\fldrslt {1}}}\par }
\pard\plain \ltrpar\s1\ql \rtlch\fcs1 \af0\afs28 \ltrch\fcs0 \b\fs32\lang1036\cgrid {\rtlch\fcs1 \af0 \ltrch\fcs0 \insrsid1 Rapport de l\rquote ann\'e9e}{\insrsid2 \par }
\pard\plain \ql {\insrsid1 Le co\'fbt s\rquote \'e9l\'e8ve \'e0 12\~\'80 \endash  c\rquote est }{\b\insrsid1 peu}{\insrsid1 .{\footnote\pard\plain {\super \chftn } Une note.}
 Voir {\field\fldedit{\*\fldinst { HYPERLINK "https://example.org/" }{{\*\datafield 00d0c9}}}{\fldrslt {\ul\cf2 le site}}} pour le reste.}{\v texte masqu\'e9}{\par }
{\listtext\pard\plain\f3 \'b7\tab}\pard \fi-360\li720 {Premier point\par }{\listtext\pard\plain\f3 \'b7\tab}{Second point\par }
\pard {\*\bkmkstart repere}Fin{\*\bkmkend repere} {\f37 \'9elu\'9dou\'e8k\'fd k\'f9\'f2}{\insrsid1 , et voil\'e0.\par }
{\*\themedata 504b030414}{\*\latentstyles\lsdstimax376{\lsdlockedexcept Normal;heading 1;}}{\*\datastore 0105}}''')

write('textedit.rtf', r'''{\rtf1\ansi\ansicpg1252\cocoartf2639
\cocoatextscaling0\cocoaplatform0{\fonttbl\f0\fswiss\fcharset0 Helvetica;\f1\fnil\fcharset0 AppleColorEmoji;\f2\fswiss\fcharset0 Helvetica-Bold;
}
{\colortbl;\red255\green255\blue255;}
{\*\expandedcolortbl;;}
\paperw11900\paperh16840\margl1440\margr1440\vieww11520\viewh8400\viewkind0
\pard\tx566\pardirnatural\partightenfactor0

\f0\fs24 \cf0 Voici une note \'e9crite \'e0 la main.\
Avec un emoji 
\f1 \uc0\u55357 \u56832 
\f0  et du grec : \uc0\u945 \u946 \u947 .\
\pard\tx566\pardirnatural

\f2\b \cf0 En gras
\f0\b0  puis non, avec une accolade \{ et une barre \\.}''')

write('wordpad.rtf', r'''{\rtf1\ansi\ansicpg1251\deff0\nouicompat\deflang1049{\fonttbl{\f0\fnil\fcharset0 Calibri;}{\f1\fnil\fcharset204 Calibri;}{\f2\fnil Courier New;}}
{\*\generator Riched20 10.0.19041}\viewkind4\uc1
\pard\sa200\sl276\slmult1\f0\fs22\lang12 Latin \'e9\'e8 \f1\lang1049\'cf\'f0\'e8\'e2\'e5\'f2 \'ec\'e8\'f0\f0\lang12\par
\f2 \'cf\'e0\'ea\'e5\'f2\f0\par
}
'''.replace('\n', '\r\n').encode() + b'\0')

write('libreoffice.rtf', r'''{\rtf1\ansi\deff3\adeflang1025
{\fonttbl{\f0\froman\fprq2\fcharset0 Times New Roman;}{\f3\froman\fprq2\fcharset0 Liberation Serif{\*\falt Times New Roman};}{\f4\fnil\fprq2\fcharset128 Noto Serif CJK;}}
{\colortbl;\red0\green0\blue0;}{\stylesheet{\s0\snext0\loch\f3\fs24 Normal;}{\s15\sbasedon0 Heading;}}{\*\generator LibreOffice}{\info{\creatim\yr2024}{\printim\yr0}}
{\*\pgdsctbl{\pgdsc0\pgdscuse451 Default;}}\formshade{\*\pgdscno0}\paperh16838\paperw11906
\pard\plain \s0\loch\f3 {\rtlch \ltrch\loch D\u233\'e9claration d\u8217\'92imp\u244\'f4t\line deuxi\u232\'e8me ligne}
\par \pard\plain {\loch \uc2\u26085\'93\'fa\u26412\'96\'7b\u35486\'8c\'ea\uc1  et \u8364\'80\u160\'a0fin}
\par \trowd\trql\cellx3000\cellx6000\pard\intbl Nom\cell Prix\cell\row\trowd\cellx3000\cellx6000\pard\intbl Caf\u233\'e9\cell 2,50\cell\row\pard
\par {\upr{Apres}{\*\ud Apr\u232\'e8s}} le tableau.\par }''')

write('japanese.rtf', b'{\\rtf1\\ansi\\ansicpg932\\deff0{\\fonttbl{\\f0\\fnil\\fcharset128 MS Mincho;}}\r\n\\f0\\fs20 '
      + ''.join("\\'%02x" % b for b in '日本語の表示'.encode('cp932')).encode() + b'\\par\r\n'
      + '生の文字'.encode('cp932') + b'\\par '
      + b"\\'83A\\'83C ABC\\par }")

write('asia.rtf', b'{\\rtf1\\ansi\\deff0{\\fonttbl{\\f0\\fcharset0 Arial;}{\\f1\\fcharset134 SimSun;}{\\f2\\fcharset136 MingLiU;}{\\f3\\fcharset129 Batang;}}'
      + b''.join(b'{\\f%d ' % f + ''.join("\\'%02x" % b for b in t.encode(c)).encode() + b'}\\par '
                 for f, t, c in [(1, '简体中文', 'gbk'), (2, '繁體中文', 'big5'), (3, '한국어', 'cp949')]) + b'}')

write('europe.rtf', b'{\\rtf1\\ansi\\ansicpg1252\\deff0{\\fonttbl'
      + b''.join(b'{\\f%d\\fcharset%d F;}' % (i, c) for i, c in enumerate([0, 238, 204, 161, 162, 177, 178, 186, 163, 222, 254, 255, 77]))
      + b'{\\f20\\fnil\\cpg866 DOS;}}'
      + b''.join(b'{\\f%d ' % f + ''.join("\\'%02x" % b for b in t.encode(c)).encode() + b'}\\par '
                 for f, t, c in [(0, 'œuvre €', 'cp1252'), (1, 'Łódź', 'cp1250'), (2, 'Москва', 'cp1251'), (3, 'Αθήνα', 'cp1253'), (4, 'İstanbul ğ', 'cp1254'),
                                 (5, 'שלום', 'cp1255'), (6, 'سلام', 'cp1256'), (7, 'Rīga š', 'cp1257'), (8, 'Đà', 'cp1258'), (9, 'ไทย', 'cp874'),
                                 (10, 'éàü', 'cp437'), (11, 'éàü', 'cp850'), (12, 'été œ', 'mac_roman'), (20, 'Привет', 'cp866')]) + b'}')

write('mac.rtf', b"{\\rtf1\\mac{\\fonttbl\\f0\\fnil Geneva;}\\f0 D\\'8ej\\'88 \\'8etudi\\'8e.\\par}")

write('picture.rtf', b'{\\rtf1\\ansi Avant {\\pict\\wmetafile8\\picw100 010009000003{}aabbccdd} pendant {\\*\\shppict{\\pict\\pngblip\\bin12 }}}}{{{\\\\\\\\ab}}'
      b'{\\nonshppict{\\pict 00ff}} {\\object\\objemb{\\*\\objclass Feuille}{\\*\\objdata 0105000002}{\\result tableau}} apr\\\'e8s'
      b'{\\shp{\\*\\shpinst\\shpleft1{\\sp{\\sn shapeType}{\\sv 202}}{\\shptxt \\pard Dans un cadre\\par}}{\\shprslt{\\*\\do\\dobxpage doublon}}}.\\par}')

write('symbols.rtf', r'''{\rtf1\ansi a\emdash b\endash c\bullet d\lquote e\rquote f\ldblquote g\rdblquote h\~i\_j\-k\tab l\
m\u8212-n{\uc2\u8364\'80\'80o}{\uc0\u8364 p}\u8364?q\u-10179?\u-8704?r\u55357?s\zwj t{\deleted parti}\deleted non\deleted0 u\v non\plain w}''')

write('cut-short.rtf', r'''{\rtf1\ansi{\fonttbl{\f0 Arial;}}\f0 Le document {\b s'arr\'eate au milieu d''')
write('not.rtf', 'Rien de tel {ici}.')
