#include "feeders/SchemePainter038.h"

#include <QFileInfo>
#include <QFontMetricsF>
#include <QImage>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPainterPath>
#include <QPdfWriter>
#include <QSaveFile>
#include <QTransform>
#include <algorithm>
#include <cmath>

namespace feeders {

namespace {
using namespace fider;

constexpr TRgb kSelection = 0x3070FF;
constexpr TRgb kText = 0x202020;
constexpr double kSectionLabelSize = 7;

QColor rgb(TRgb c, int alpha = 255)
{
    QColor colour = QColor::fromRgb(static_cast<QRgb>(c));
    colour.setAlpha(alpha);
    return colour;
}

QFont font(double pixels, bool bold = false)
{
    QFont f(QStringLiteral("DejaVu Sans"));
    f.setPixelSize(std::max(1, static_cast<int>(std::lround(pixels))));
    f.setBold(bold);
    return f;
}

double width(TPhaseSet phases)
{
    const int n = PhaseCount(phases);
    return n >= 3 ? 2.6 : n == 2 ? 2.0 : 1.4;
}

// A consumer goes by its own name, every other node by the node's.
QString nodeLabel(const TDrawNode& node)
{
    if (node.Consumer && !node.ConsumerName.trimmed().isEmpty())
        return node.ConsumerName.trimmed();
    return node.Name.trimmed();
}

// A node's name: an end node's (a consumer's) beyond it along its section, any other's small beside it, on the side
// of its section with fewer branches; the supply centre's above it.
double labelSize(const TDrawNode& node)
{
    return node.Leaf || node.Kind == TNodeKind::SupplyCentre ? kLabelSize : kSmallLabelSize;
}

QRectF labelRect(const TDrawNode& node, const QString& text)
{
    const QFontMetricsF metrics(font(labelSize(node), node.Kind == TNodeKind::SupplyCentre));
    const QSizeF size(metrics.horizontalAdvance(text) + 2, metrics.height());
    const QPointF p = node.Position;
    const double gap = kNodeSize * 0.9;
    if (node.Kind == TNodeKind::SupplyCentre)
        return QRectF(QPointF(p.x() - size.width() / 2, p.y() - gap - 4 - size.height()), size);
    QPointF toward(std::cos(node.Heading), std::sin(node.Heading));
    if (!node.Leaf)
        toward = QPointF(-toward.y(), toward.x()) * node.LabelSide;
    QPointF anchor = p + toward * gap;
    if (std::fabs(toward.x()) >= 0.35)
        return QRectF(QPointF(toward.x() > 0 ? anchor.x() : anchor.x() - size.width(), anchor.y() - size.height() / 2),
                      size);
    if (toward.y() > 0 && node.Consumer)
        anchor.ry() += 9;  // below the phases' tag
    return QRectF(QPointF(anchor.x() - size.width() / 2, toward.y() > 0 ? anchor.y() : anchor.y() - size.height()),
                  size);
}

// The phases of a consumer, in a tag below its house.
QRectF phaseTagRect(const TDrawNode& node)
{
    const QString text = PhasesText(node.Phases);
    const double w = 4 + 5 * text.size();
    return QRectF(node.Position.x() - w / 2, node.Position.y() + kNodeSize / 2 + 1.5, w, 8);
}

QPointF unit(QPointF v)
{
    const double length = std::hypot(v.x(), v.y());
    return length > 0 ? v / length : QPointF(1, 0);
}
}  // namespace

void PaintSection(QPainter& painter, const TSchemeDrawing038& drawing, const TDrawSection& s, const TPaintStyle& style,
                  bool selected)
{
    const QPointF a = drawing.Nodes[s.From].Position, b = drawing.Nodes[s.To].Position;
    const double w = width(s.Phases);
    painter.save();
    if (selected) {
        painter.setPen(QPen(rgb(kSelection, 150), w + 7, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(a, b);
    }
    if (s.OtherOwner()) {
        painter.setPen(QPen(rgb(OwnerColour(s.Owner), 90), w + 4.5, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(a, b);
    }
    QPen pen(rgb(s.Colour), w, Qt::SolidLine, Qt::FlatCap);
    if (s.Kind == TSectionKind::Cable)
        pen.setStyle(Qt::DashLine);
    else if (s.Kind == TSectionKind::Connecting) {
        pen.setStyle(Qt::DotLine);
        pen.setWidthF(std::max(1.2, w * 0.7));
    }
    painter.setPen(pen);
    if (s.SwitchedOn) {
        painter.drawLine(a, b);
    } else {
        // A switched-off section is broken in its middle, its ends marked across.
        const QPointF along = b - a;
        const QPointF p1 = a + along * 0.38, p2 = a + along * 0.62;
        painter.drawLine(a, p1);
        painter.drawLine(p2, b);
        const QPointF across = QPointF(-unit(along).y(), unit(along).x()) * 4;
        painter.setPen(QPen(rgb(s.Colour), 1.4));
        painter.drawLine(p1 - across, p1 + across);
        painter.drawLine(p2 - across, p2 + across);
    }
    if (style.SectionLabels) {
        const QString text = s.Label();
        painter.setFont(font(kSectionLabelSize));
        const QFontMetricsF metrics(painter.font());
        const QPointF middle = (a + b) / 2;
        const QRectF box(middle.x() - metrics.horizontalAdvance(text) / 2 - 1, middle.y() - metrics.height() / 2,
                         metrics.horizontalAdvance(text) + 2, metrics.height());
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(255, 255, 255, 210));
        painter.drawRect(box);
        painter.setPen(rgb(s.Energised ? 0x404080 : kDeEnergised));
        painter.drawText(box, Qt::AlignCenter, text);
    }
    painter.restore();
}

void PaintNode(QPainter& painter, const TSchemeDrawing038& drawing, const TDrawNode& node, const TPaintStyle& style,
               bool selected)
{
    const QPointF p = node.Position;
    const double r = kNodeSize / 2;
    const QColor colour = rgb(node.Colour);
    painter.save();
    painter.setBrush(Qt::NoBrush);
    if (selected) {
        painter.setPen(QPen(rgb(kSelection), 2.5));
        painter.drawEllipse(p, r + 4.5, r + 4.5);
    }
    if (node.OtherOwner() && node.Kind != TNodeKind::SupplyCentre) {
        painter.setPen(QPen(rgb(OwnerColour(node.Owner), 170), 1.6));
        painter.drawEllipse(p, r + 2, r + 2);
    }
    switch (node.Kind) {
    case TNodeKind::SupplyCentre: {
        painter.setPen(QPen(Qt::black, 2));
        painter.setBrush(Qt::white);
        const QRectF box(p.x() - r - 3, p.y() - r - 3, 2 * r + 6, 2 * r + 6);
        painter.drawRect(box);
        painter.setFont(font(6, true));
        painter.drawText(box, Qt::AlignCenter, QStringLiteral("ТП"));
        break;
    }
    case TNodeKind::TapPoint:
        painter.setPen(Qt::NoPen);
        painter.setBrush(colour);
        painter.drawEllipse(p, 3.5, 3.5);
        break;
    case TNodeKind::SwitchGear: {
        // The lines through the device are covered, then its contacts and blade: along the line when it is on,
        // turned away when it is off.
        painter.setPen(Qt::NoPen);
        painter.setBrush(Qt::white);
        painter.drawEllipse(p, r + 1, r + 1);
        const QPointF from = node.Parent >= 0 ? drawing.Nodes[node.Parent].Position : p - QPointF(1, 0);
        const QPointF dir = unit(p - from);
        const QPointF q0 = p - dir * r, q1 = p + dir * r;
        painter.setPen(QPen(colour, 2, Qt::SolidLine, Qt::RoundCap));
        if (node.Open) {
            const double turn = -40 * M_PI / 180;
            const QPointF blade(dir.x() * std::cos(turn) - dir.y() * std::sin(turn),
                                dir.x() * std::sin(turn) + dir.y() * std::cos(turn));
            painter.drawLine(q0, q0 + blade * 2 * r);
        } else {
            painter.drawLine(q0, q1);
        }
        painter.setBrush(colour);
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(q0, 1.8, 1.8);
        painter.drawEllipse(q1, 1.8, 1.8);
        break;
    }
    case TNodeKind::Consumer: {
        QPainterPath house;
        house.moveTo(p.x() - r, p.y() + r);
        house.lineTo(p.x() + r, p.y() + r);
        house.lineTo(p.x() + r, p.y() - r * 0.15);
        house.lineTo(p.x(), p.y() - r);
        house.lineTo(p.x() - r, p.y() - r * 0.15);
        house.closeSubpath();
        painter.setPen(QPen(QColor(40, 40, 40), 0.8));
        painter.setBrush(colour);
        painter.drawPath(house);
        break;
    }
    default:
        if (node.Consumer)
            break;
        painter.setPen(QPen(colour, 1.2));
        painter.setBrush(Qt::white);
        painter.drawEllipse(p, 2.6, 2.6);
        break;
    }
    if (node.Consumer && node.Kind != TNodeKind::Consumer) {
        // A consumer on a node of another kind keeps that node's symbol and gets a small house beside it.
        painter.setPen(QPen(QColor(40, 40, 40), 0.6));
        painter.setBrush(colour);
        painter.drawRect(QRectF(p.x() + r * 0.4, p.y() - r * 1.4, r * 0.9, r * 0.9));
    }
    if (node.Consumer) {
        const QRectF tag = phaseTagRect(node);
        painter.setPen(QPen(rgb(PhaseColour(node.Phases)), 0.8));
        painter.setBrush(Qt::white);
        painter.drawRoundedRect(tag, 2, 2);
        painter.setFont(font(6.5, true));
        painter.drawText(tag, Qt::AlignCenter, PhasesText(node.Phases));
    }
    if (style.NodeLabels) {
        const QString text = nodeLabel(node);
        if (!text.isEmpty()) {
            painter.setFont(font(labelSize(node), node.Kind == TNodeKind::SupplyCentre));
            painter.setPen(rgb(node.Energised ? kText : kDeEnergised));
            painter.drawText(labelRect(node, text), Qt::AlignVCenter | Qt::AlignLeft, text);
        }
    }
    painter.restore();
}

QRectF NodeArea(const TSchemeDrawing038&, const TDrawNode& node, const TPaintStyle& style)
{
    const double reach = kNodeSize / 2 + 6;
    QRectF area(node.Position - QPointF(reach, reach), QSizeF(2 * reach, 2 * reach));
    if (node.Consumer)
        area = area.united(phaseTagRect(node));
    const QString text = nodeLabel(node);
    if (style.NodeLabels && !text.isEmpty())
        area = area.united(labelRect(node, text));
    return area;
}

QRectF SectionArea(const TSchemeDrawing038& drawing, const TDrawSection& s, const TPaintStyle& style)
{
    const QPointF a = drawing.Nodes[s.From].Position, b = drawing.Nodes[s.To].Position;
    QRectF area = QRectF(a, b).normalized().adjusted(-8, -8, 8, 8);
    if (style.SectionLabels) {
        const QFontMetricsF metrics(font(kSectionLabelSize));
        const double w = metrics.horizontalAdvance(s.Label()) / 2 + 2;
        const QPointF middle = (a + b) / 2;
        area = area.united(QRectF(middle.x() - w, middle.y() - metrics.height(), 2 * w, 2 * metrics.height()));
    }
    return area;
}

namespace {
constexpr double kBarWidth = 300;
constexpr double kRow = 16;

bool colouredByVoltage(const TSchemeDrawing038& drawing)
{
    return drawing.Colour != TDrawColour::Loading && drawing.Colour != TDrawColour::Losses;
}

double barX(const TLegend& legend, double value)
{
    const double t = (value - legend.Low) / (legend.High - legend.Low);
    return 10 + std::clamp(t, 0.0, 1.0) * kBarWidth;
}
}  // namespace

QSizeF LegendSize(const TSchemeDrawing038& drawing)
{
    const double title = QFontMetricsF(font(11, true)).horizontalAdvance(drawing.Legend.Title) + 20;
    return QSizeF(std::max(kBarWidth + 40, title), 58 + (colouredByVoltage(drawing) ? 3 : 2) * kRow);
}

void PaintLegend(QPainter& painter, const TSchemeDrawing038& drawing, const QPointF& topLeft)
{
    const TLegend& legend = drawing.Legend;
    const bool voltage = colouredByVoltage(drawing);
    const QSizeF size = LegendSize(drawing);
    painter.save();
    painter.translate(topLeft);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setPen(QPen(QColor(160, 160, 160), 1));
    painter.setBrush(QColor(255, 255, 255, 235));
    painter.drawRect(QRectF(QPointF(0, 0), size));
    painter.setPen(rgb(kText));
    painter.setFont(font(11, true));
    painter.drawText(QRectF(8, 3, size.width() - 16, kRow), Qt::AlignLeft | Qt::AlignVCenter, legend.Title);
    painter.setFont(font(9.5));
    if (legend.Empty) {
        painter.drawText(QRectF(10, 22, kBarWidth, 28), Qt::AlignLeft | Qt::AlignVCenter,
                         drawing.HasRun ? QStringLiteral("В расчете нет значений для раскраски")
                                        : QStringLiteral("Нет результатов расчета режима"));
    } else {
        for (int x = 0; x < static_cast<int>(kBarWidth); ++x) {
            const double value = legend.Low + (legend.High - legend.Low) * (x + 0.5) / kBarWidth;
            const TRgb c =
                voltage ? VoltageColour(value) : ScaleColour((value - legend.Low) / (legend.High - legend.Low));
            painter.fillRect(QRectF(10 + x, 23, 1.05, 12), rgb(c));
        }
        const QFontMetricsF metrics(painter.font());
        for (const TLegend::Mark& mark : legend.Marks) {
            const double x = barX(legend, mark.Value);
            const bool limit = voltage && std::fabs(std::fabs(mark.Value) - kGostVoltageLimit) < 1e-9;
            painter.setPen(QPen(limit ? QColor(Qt::black) : QColor(90, 90, 90), limit ? 2.5 : 1));
            painter.drawLine(QPointF(x, limit ? 19 : 23), QPointF(x, 38));
            const double w = metrics.horizontalAdvance(mark.Text);
            const double left = std::clamp(x - w / 2, 2.0, size.width() - w - 2);
            painter.setPen(rgb(kText));
            painter.drawText(QRectF(left, 38, w + 1, 14), Qt::AlignLeft | Qt::AlignVCenter, mark.Text);
        }
    }
    double y = 54 + kRow / 2;
    double x = 10;
    auto text = [&](const QString& t) {
        painter.setPen(rgb(kText));
        const double w = QFontMetricsF(painter.font()).horizontalAdvance(t);
        painter.drawText(QRectF(x + 26, y - kRow / 2, w + 2, kRow), Qt::AlignLeft | Qt::AlignVCenter, t);
        x += 26 + w + 12;
    };
    painter.setFont(font(9));
    if (voltage) {
        painter.setPen(QPen(Qt::black, 2.5));
        painter.drawLine(QPointF(x + 11, y - 6), QPointF(x + 11, y + 6));
        text(QStringLiteral("пределы ГОСТ 32144-2013: ±10 % номинального напряжения"));
        y += kRow;
        x = 10;
    }
    // The kinds of lines, the part switched off and the owners' halo.
    auto sample = [&](const QPen& pen, const QString& t) {
        painter.setPen(pen);
        painter.drawLine(QPointF(x, y), QPointF(x + 22, y));
        text(t);
    };
    const QColor dark = rgb(kNoResult);
    sample(QPen(dark, 2.6, Qt::SolidLine, Qt::FlatCap), QStringLiteral("ВЛ"));
    sample(QPen(dark, 2.6, Qt::DashLine, Qt::FlatCap), QStringLiteral("КЛ"));
    sample(QPen(dark, 1.8, Qt::DotLine, Qt::FlatCap), QStringLiteral("перемычка"));
    sample(QPen(rgb(kDeEnergised), 2.6, Qt::SolidLine, Qt::FlatCap), QStringLiteral("без напряжения"));
    y += kRow;
    x = 10;
    painter.setPen(QPen(rgb(OwnerColour(TBalanceOwner::NotOnBalance), 90), 7, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QPointF(x, y), QPointF(x + 22, y));
    sample(QPen(dark, 2.6), QStringLiteral("не на балансе сети (ореол цвета владельца)"));
    painter.restore();
}

namespace {
QRectF contentArea(const TSchemeDrawing038& drawing, const TPaintStyle& style)
{
    QRectF area;
    for (const TDrawNode& node : drawing.Nodes)
        area = area.united(NodeArea(drawing, node, style));
    for (const TDrawSection& s : drawing.Sections)
        area = area.united(SectionArea(drawing, s, style));
    return area.adjusted(-6, -6, 6, 6);
}

// The unit of a page's texts: one for a screen-sized picture, more on a large one.
double pageUnit(const QRectF& page) { return std::clamp(std::min(page.width(), page.height()) / 760.0, 0.8, 5.0); }
}  // namespace

void PaintPage(QPainter& painter, const QRectF& page, const TSchemeDrawing038& drawing, const TPaintStyle& style)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setRenderHint(QPainter::TextAntialiasing, true);
    painter.fillRect(page, Qt::white);
    const double u = pageUnit(page);
    const double margin = 12 * u;
    painter.setPen(rgb(kText));
    painter.setFont(font(17 * u, true));
    const QRectF titleBox(page.left() + margin, page.top() + margin, page.width() - 2 * margin, 22 * u);
    painter.drawText(titleBox, Qt::AlignLeft | Qt::AlignVCenter, drawing.Title);
    painter.setFont(font(11 * u));
    const QRectF subtitleBox(titleBox.left(), titleBox.bottom() + 2 * u, titleBox.width(), 16 * u);
    painter.drawText(subtitleBox, Qt::AlignLeft | Qt::AlignVCenter, drawing.Subtitle);
    const QSizeF legend = LegendSize(drawing) * u;
    const QRectF area(page.left() + margin, subtitleBox.bottom() + 8 * u, page.width() - 2 * margin,
                      page.bottom() - margin - legend.height() - 8 * u - (subtitleBox.bottom() + 8 * u));
    const QRectF content = contentArea(drawing, style);
    if (area.width() > 0 && area.height() > 0 && content.width() > 0 && content.height() > 0) {
        const double k = std::min({area.width() / content.width(), area.height() / content.height(), 4.0 * u});
        painter.save();
        painter.translate(area.center());
        painter.scale(k, k);
        painter.translate(-content.center());
        for (const TDrawSection& s : drawing.Sections)
            PaintSection(painter, drawing, s, style);
        for (const TDrawNode& node : drawing.Nodes)
            PaintNode(painter, drawing, node, style);
        painter.restore();
    }
    painter.save();
    painter.translate(page.left() + margin, page.bottom() - margin - legend.height());
    painter.scale(u, u);
    PaintLegend(painter, drawing, QPointF(0, 0));
    painter.restore();
    if (!drawing.Problems.isEmpty()) {
        painter.setFont(font(9 * u));
        painter.setPen(QColor(0xB0, 0x20, 0x20));
        const QRectF note(page.left() + margin + legend.width() + 12 * u, page.bottom() - margin - legend.height(),
                          page.width() - 3 * margin - legend.width(), legend.height());
        painter.drawText(note, Qt::AlignLeft | Qt::AlignBottom | Qt::TextWordWrap,
                         QStringLiteral("Схема с ошибками, не нарисовано: ") +
                             drawing.Problems.join(QStringLiteral("; ")));
    }
    painter.restore();
}

bool WriteDrawingPng(const TSchemeDrawing038& drawing, const QString& file, const TPaintStyle& style, QString& error)
{
    // Two pixels per unit of the drawing make its labels as large as the window shows them, within a picture a
    // viewer still opens.
    const QRectF content = contentArea(drawing, style);
    const double k = std::min(2.0, 7000.0 / std::max({content.width(), content.height(), 1.0}));
    const double w = std::max(1200.0, content.width() * k + 40);
    const double h = std::max(800.0, content.height() * k + 200);
    QImage image(QSize(static_cast<int>(w), static_cast<int>(h)), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    {
        QPainter painter(&image);
        PaintPage(painter, QRectF(0, 0, w, h), drawing, style);
    }
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly) || !image.save(&out, "PNG") || !out.commit()) {
        error = QStringLiteral("Файл «%1» не записан: %2").arg(QFileInfo(file).fileName(), out.errorString());
        return false;
    }
    return true;
}

bool WriteDrawingPdf(const std::vector<TSchemeDrawing038>& drawings, const QString& file, const TPaintStyle& style,
                     QString& error)
{
    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly)) {
        error = QStringLiteral("Файл «%1» не записан: %2").arg(QFileInfo(file).fileName(), out.errorString());
        return false;
    }
    {
        QPdfWriter pdf(&out);
        pdf.setResolution(300);
        pdf.setCreator(QStringLiteral("ОЗН 3"));
        pdf.setTitle(drawings.empty() ? QStringLiteral("Схема 0,38 кВ") : drawings.front().Title);
        pdf.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Landscape, QMarginsF(10, 10, 10, 10),
                                      QPageLayout::Millimeter));
        QPainter painter(&pdf);
        for (size_t i = 0; i < drawings.size(); ++i) {
            if (i > 0)
                pdf.newPage();
            PaintPage(painter, QRectF(0, 0, pdf.width(), pdf.height()), drawings[i], style);
        }
    }
    if (!out.commit()) {
        error = QStringLiteral("Файл «%1» не записан: %2").arg(QFileInfo(file).fileName(), out.errorString());
        return false;
    }
    return true;
}

}  // namespace feeders
