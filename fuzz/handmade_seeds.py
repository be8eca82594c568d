#!/usr/bin/env python3
"""Writes the hand-made seed workbooks of the reader's fuzz target into the folder given (fuzz/corpus).

The other seeds are workbooks the product wrote itself (ozn3 scheme export, conductors export, results --xlsx
on a demo database) and one of them saved again by LibreOffice Calc.
"""
import zipfile, sys, os
out = sys.argv[1]
NS = 'xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"'
R = 'xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships"'
CT = '''<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types"><Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/><Default Extension="xml" ContentType="application/xml"/><Override PartName="/xl/workbook.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml"/><Override PartName="/xl/worksheets/sheet1.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml"/><Override PartName="/xl/sharedStrings.xml" ContentType="application/vnd.openxmlformats-officedocument.spreadsheetml.sharedStrings+xml"/></Types>'''
RELS = '''<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships"><Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="xl/workbook.xml"/></Relationships>'''
def wb(sheets):
    s = ''.join('<sheet name="%s" sheetId="%d" r:id="rId%d"/>' % (n, i + 1, i + 1) for i, n in enumerate(sheets))
    return '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n<workbook %s %s><sheets>%s</sheets></workbook>' % (NS, R, s)
def wbrels(targets):
    s = ''.join('<Relationship Id="rId%d" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet" Target="%s"/>' % (i + 1, t) for i, t in enumerate(targets))
    return '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">%s</Relationships>' % s
def sheet(rows):
    return '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n<worksheet %s><sheetData>%s</sheetData></worksheet>' % (NS, ''.join('<row r="%d">%s</row>' % (r, c) for r, c in rows))
def sst(items):
    return '<?xml version="1.0" encoding="UTF-8" standalone="yes"?>\n<sst %s count="%d" uniqueCount="%d">%s</sst>' % (NS, len(items), len(items), ''.join('<si>%s</si>' % i for i in items))
def write(name, parts, method=zipfile.ZIP_DEFLATED):
    with zipfile.ZipFile(os.path.join(out, name), 'w', method) as z:
        for n, d in parts:
            z.writestr(n, d.encode('utf-8'))

# every kind of cell the reader knows: shared, inline and formula texts, numbers, booleans, errors
cells = ('<c r="A1" t="s"><v>0</v></c><c r="B1" t="s"><v>1</v></c><c r="C1" t="inlineStr"><is><t>ТП-12</t></is></c>'
         '<c r="D1"><v>0.38</v></c><c r="E1" t="b"><v>1</v></c><c r="F1" t="str"><f>A1&amp;B1</f><v>Ф1ф2</v></c>'
         '<c r="G1" t="e"><v>#DIV/0!</v></c><c r="H1" s="1"/><c r="I1"><f>D1*2</f><v>0.76</v></c>')
write('minimal.xlsx', [('[Content_Types].xml', CT), ('_rels/.rels', RELS), ('xl/workbook.xml', wb(['Лист1'])),
      ('xl/_rels/workbook.xml.rels', wbrels(['worksheets/sheet1.xml'])),
      ('xl/worksheets/sheet1.xml', sheet([(1, cells), (3, '<c r="A3"><v>-1.5E-3</v></c><c r="XFD3"><v>7</v></c>'), (1048576, '<c r="A1048576"><v>1</v></c>')])),
      ('xl/sharedStrings.xml', sst(['<t>Ф1</t>', '<r><rPr><b/></rPr><t>ф</t></r><r><t xml:space="preserve">2 </t></r>']))])
# stored parts (no compression), two sheets, one found through an absolute target, no shared strings
write('stored-two-sheets.xlsx', [('[Content_Types].xml', CT), ('xl/workbook.xml', wb(['Участки', 'Опоры'])),
      ('xl/_rels/workbook.xml.rels', wbrels(['/xl/worksheets/data.xml', 'worksheets/sheet2.xml'])),
      ('xl/worksheets/data.xml', sheet([(2, '<c r="B2"><v>10</v></c><c r="C2" t="inlineStr"><is><t>АС-50</t></is></c>')])),
      ('xl/worksheets/sheet2.xml', sheet([(5, '<c r="AA5" t="b"><v>0</v></c>')]))], zipfile.ZIP_STORED)
# no relationships of the workbook: the sheets are found by position
write('no-rels.xlsx', [('xl/workbook.xml', wb(['A'])),
      ('xl/worksheets/sheet1.xml', sheet([(1, '<c r="A1"><v>1</v></c><c r="B1"><v>1e300</v></c>')]))])
# an internal entity: expansion is bounded by the XML reader
write('entity.xlsx', [('xl/workbook.xml', wb(['A'])),
      ('xl/worksheets/sheet1.xml', '<?xml version="1.0"?><!DOCTYPE w [<!ENTITY a "1234567890"><!ENTITY b "&a;&a;&a;&a;">]>'
       '<worksheet %s><sheetData><row r="1"><c r="A1" t="inlineStr"><is><t>&b;</t></is></c></row></sheetData></worksheet>' % NS)])
