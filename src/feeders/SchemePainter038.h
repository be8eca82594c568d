#pragma once
// How an LV feeder's drawing looks: its symbols, lines, labels and legend painted on any painter (the window's
// view, a picture, a PDF page, a printer), so that every one of them shows the same drawing. Needs the GUI
// module only, not widgets: the command line paints with it too.
#include <QRectF>
#include <QString>
#include <vector>

#include "feeders/SchemeDrawing038.h"

class QPainter;

namespace feeders {

struct TPaintStyle {
    bool NodeLabels = true;      // names of the nodes and consumers
    bool SectionLabels = false;  // conductors and lengths of the sections
};

// Sizes of the drawing, in its units.
constexpr double kNodeSize = 10;       // a node's symbol
constexpr double kLabelSize = 9;       // the height of the letters of a consumer's or an end node's name
constexpr double kSmallLabelSize = 7;  // of the name of a node on the way

// One section (in the drawing's units): a line of its kind (overhead solid, cable dashed, connecting dotted),
// as thick as its phases, in its colour; broken in the middle when switched off; with a halo in its owner's
// colour when it is not the utility's; the conductor and length beside it on demand.
void PaintSection(QPainter& painter, const TSchemeDrawing038& drawing, const TDrawSection& section,
                  const TPaintStyle& style, bool selected = false);
// One node: its symbol by kind (the supply centre a bus, a tap point a dot, a consumer a house with its phases,
// a switching device a blade drawn open when it is off), its name outward from the supply centre.
void PaintNode(QPainter& painter, const TSchemeDrawing038& drawing, const TDrawNode& node, const TPaintStyle& style,
               bool selected = false);
// The area a node or section paints in, its label included.
QRectF NodeArea(const TSchemeDrawing038& drawing, const TDrawNode& node, const TPaintStyle& style);
QRectF SectionArea(const TSchemeDrawing038& drawing, const TDrawSection& section, const TPaintStyle& style);

// The legend of the colouring, the kinds of lines and the owners' halo, in a box at a point (painter units as
// pixels); its size.
QSizeF LegendSize(const TSchemeDrawing038& drawing);
void PaintLegend(QPainter& painter, const TSchemeDrawing038& drawing, const QPointF& topLeft);

// A whole page: the title and the run on top, the drawing fitted into the rest, the legend below it.
void PaintPage(QPainter& painter, const QRectF& page, const TSchemeDrawing038& drawing, const TPaintStyle& style);

// The drawing as a PNG picture (large enough to read every label) or as a PDF document of one A4 landscape page
// per drawing (a substation's feeders). False with the reason when the file cannot be written.
bool WriteDrawingPng(const TSchemeDrawing038& drawing, const QString& file, const TPaintStyle& style, QString& error);
bool WriteDrawingPdf(const std::vector<TSchemeDrawing038>& drawings, const QString& file, const TPaintStyle& style,
                     QString& error);

}  // namespace feeders
