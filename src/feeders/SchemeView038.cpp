#include "feeders/SchemeView038.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QGraphicsScene>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QRegularExpression>
#include <QScrollBar>
#include <QStyleOptionGraphicsItem>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "host/Dialogs.h"
#include "host/NumericHelpers.h"
#include "host/Spreadsheet.h"

namespace feeders {

namespace {
constexpr double kLeastZoom = 0.02, kMostZoom = 24;
// Labels are drawn once they are this many pixels high on the screen.
constexpr double kReadablePixels = 6;

QString number(double v, const char* pattern)
{
    return isEmptyFloat(v) ? QStringLiteral("—") : FormatFloat(QString::fromLatin1(pattern), v);
}

QString nodeTip(const TSchemeDrawing038& d, const TDrawNode& n)
{
    QStringList lines{QStringLiteral("<b>%1</b>").arg(n.Name.toHtmlEscaped()),
                      fider::NodeKindText(n.Kind) + (n.Open ? QStringLiteral(", отключен") : QString())};
    if (n.Consumer)
        lines
            << QStringLiteral("Абонент: %1, фазы %2").arg(n.ConsumerName.toHtmlEscaped(), fider::PhasesText(n.Phases));
    if (n.OtherOwner())
        lines << fider::OwnerText(n.Owner);
    if (!n.Energised)
        lines << QStringLiteral("Без напряжения: за отключенным аппаратом или участком");
    else if (d.HasRun)
        lines << QStringLiteral("U: A %1, B %2, C %3 В")
                     .arg(number(n.U[0], "0.0"), number(n.U[1], "0.0"), number(n.U[2], "0.0"));
    lines << QStringLiteral("От центра питания %1 км").arg(FormatFloat(QStringLiteral("0.000"), n.Distance));
    return lines.join(QStringLiteral("<br>"));
}

QString sectionTip(const TSchemeDrawing038& d, const TDrawSection& s)
{
    QStringList lines{QStringLiteral("<b>%1</b>").arg(s.Name.toHtmlEscaped()),
                      fider::SectionKindText(s.Kind) + (s.SwitchedOn ? QString() : QStringLiteral(", отключен")),
                      s.Label() + QStringLiteral(", фазы ") + fider::PhasesText(s.Phases)};
    if (s.OtherOwner())
        lines << fider::OwnerText(s.Owner);
    if (d.HasRun && s.Energised)
        lines << QStringLiteral("I: A %1, B %2, C %3, N %4 А")
                     .arg(number(s.I[0], "0.0"), number(s.I[1], "0.0"), number(s.I[2], "0.0"), number(s.I[3], "0.0"))
              << QStringLiteral("Потери мощности %1 кВт").arg(number(s.dP, "0.000"));
    return lines.join(QStringLiteral("<br>"));
}

TPaintStyle styleAt(const TPaintStyle& style, const QStyleOptionGraphicsItem* option, const QPainter* painter)
{
    TPaintStyle s = style;
    const double lod = option->levelOfDetailFromTransform(painter->worldTransform());
    s.NodeLabels = s.NodeLabels && lod * kSmallLabelSize >= kReadablePixels;
    s.SectionLabels = s.SectionLabels && lod * 7 >= kReadablePixels;
    return s;
}
}  // namespace

TDrawNodeItem::TDrawNodeItem(TSchemeView038& view, int index) : TDrawItem(view, index)
{
    setFlag(ItemIsSelectable);
    setZValue(2);
    setToolTip(nodeTip(view.Drawing(), Node()));
}

const TDrawNode& TDrawNodeItem::Node() const { return view_.Drawing().Nodes[index_]; }

QRectF TDrawNodeItem::boundingRect() const
{
    TPaintStyle all = view_.Style();
    all.NodeLabels = true;
    return NodeArea(view_.Drawing(), Node(), all);
}

QPainterPath TDrawNodeItem::shape() const
{
    QPainterPath path;
    const double reach = kNodeSize / 2 + 3;
    path.addEllipse(Node().Position, reach, reach);
    return path;
}

void TDrawNodeItem::paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget*)
{
    PaintNode(*painter, view_.Drawing(), Node(), styleAt(view_.Style(), option, painter), isSelected());
}

TDrawSectionItem::TDrawSectionItem(TSchemeView038& view, int index) : TDrawItem(view, index)
{
    setFlag(ItemIsSelectable);
    setZValue(1);
    setToolTip(sectionTip(view.Drawing(), Section()));
}

const TDrawSection& TDrawSectionItem::Section() const { return view_.Drawing().Sections[index_]; }

QRectF TDrawSectionItem::boundingRect() const
{
    TPaintStyle all = view_.Style();
    all.SectionLabels = true;
    return SectionArea(view_.Drawing(), Section(), all);
}

QPainterPath TDrawSectionItem::shape() const
{
    const TSchemeDrawing038& d = view_.Drawing();
    QPainterPath line(d.Nodes[Section().From].Position);
    line.lineTo(d.Nodes[Section().To].Position);
    QPainterPathStroker stroker;
    stroker.setWidth(7);
    return stroker.createStroke(line);
}

void TDrawSectionItem::paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget*)
{
    PaintSection(*painter, view_.Drawing(), Section(), styleAt(view_.Style(), option, painter), isSelected());
}

TSchemeGraphicsView::TSchemeGraphicsView(TSchemeView038& owner, QWidget* parent) : QGraphicsView(parent), owner_(owner)
{
    setObjectName(QStringLiteral("SchemeGraphicsView"));
    setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    setDragMode(QGraphicsView::ScrollHandDrag);
    setTransformationAnchor(QGraphicsView::AnchorUnderMouse);
    // The legend stays in its corner, so the whole viewport is painted anew on a scroll.
    setViewportUpdateMode(QGraphicsView::FullViewportUpdate);
    setBackgroundBrush(Qt::white);
    // A drag pans and the wheel zooms: the scroll bars would only take room from the drawing.
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
}

void TSchemeGraphicsView::wheelEvent(QWheelEvent* event)
{
    const double steps = event->angleDelta().y() / 120.0;
    if (steps == 0) {
        QGraphicsView::wheelEvent(event);
        return;
    }
    owner_.ZoomBy(std::pow(1.2, steps));
    AutoFit = false;
    event->accept();
}

void TSchemeGraphicsView::drawForeground(QPainter* painter, const QRectF&)
{
    if (!ShowLegend)
        return;
    // The legend in the corner, smaller on a small view.
    const QSizeF size = LegendSize(owner_.Drawing());
    const double k = std::clamp(viewport()->width() / (size.width() * 2.2), 0.55, 0.85);
    painter->save();
    painter->resetTransform();
    painter->translate(6, viewport()->height() - size.height() * k - 6);
    painter->scale(k, k);
    PaintLegend(*painter, owner_.Drawing(), QPointF(0, 0));
    painter->restore();
}

void TSchemeGraphicsView::resizeEvent(QResizeEvent* event)
{
    QGraphicsView::resizeEvent(event);
    if (AutoFit)
        owner_.FitAll();
    viewport()->update();
}

TSchemeView038::TSchemeView038(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("SchemeView038"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    bar_ = new QWidget(this);
    bar_->setObjectName(QStringLiteral("SchemeViewBar"));
    auto* bar = new QHBoxLayout(bar_);
    bar->setContentsMargins(0, 0, 0, 0);
    colours_ = new QComboBox(this);
    colours_->setObjectName(QStringLiteral("cbDrawColour"));
    for (int c = 0; c < kDrawColourCount; ++c)
        colours_->addItem(DrawColourName(static_cast<TDrawColour>(c)));
    // The panel may be narrow beside the tree: the choice shows its start, the list opens whole.
    colours_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    colours_->setMinimumContentsLength(10);
    colours_->setToolTip(QStringLiteral("Раскраска схемы по результату расчета"));
    colours_->view()->setMinimumWidth(colours_->view()->sizeHintForColumn(0) + 24);
    bar->addWidget(colours_);
    sectionLabels_ = new QCheckBox(QStringLiteral("Марки"), this);
    sectionLabels_->setToolTip(QStringLiteral("Марки проводов и длины участков на схеме"));
    sectionLabels_->setObjectName(QStringLiteral("chkSectionLabels"));
    bar->addWidget(sectionLabels_);
    auto button = [this, bar](const char* name, const QString& text, const QString& tip, auto slot) {
        auto* b = new QToolButton(this);
        b->setObjectName(QString::fromLatin1(name));
        b->setText(text);
        b->setToolTip(tip);
        bar->addWidget(b);
        connect(b, &QToolButton::clicked, this, slot);
        return b;
    };
    button("btnZoomIn", QStringLiteral("+"), QStringLiteral("Крупнее (колесо мыши)"), [this] {
        ZoomBy(1.25);
        view_->AutoFit = false;
    });
    button("btnZoomOut", QStringLiteral("−"), QStringLiteral("Мельче (колесо мыши)"), [this] {
        ZoomBy(0.8);
        view_->AutoFit = false;
    });
    button("btnFit", QStringLiteral("Вписать"), QStringLiteral("Вся схема в окне"), [this] {
        view_->AutoFit = true;
        FitAll();
    });
    QToolButton* legend =
        button("btnLegend", QStringLiteral("Легенда"), QStringLiteral("Показать или скрыть легенду"), [this] {
            view_->ShowLegend = !view_->ShowLegend;
            view_->viewport()->update();
        });
    legend->setCheckable(true);
    legend->setChecked(true);
    bar->addStretch();
    button("btnDrawingSave", QStringLiteral("Сохранить…"), QStringLiteral("Рисунок PNG или документ PDF"),
           [this] { SaveAs(); });
    button("btnDrawingPrint", QStringLiteral("Печать…"), QStringLiteral("Печать схемы с предварительным просмотром"),
           [this] { Print(); });
    layout->addWidget(bar_);
    scene_ = new QGraphicsScene(this);
    view_ = new TSchemeGraphicsView(*this, this);
    view_->setScene(scene_);
    layout->addWidget(view_, 1);
    connect(scene_, &QGraphicsScene::selectionChanged, this, &TSchemeView038::OnSelectionChanged);
    connect(colours_, &QComboBox::activated, this, [this](int c) { SetColour(static_cast<TDrawColour>(c)); });
    connect(sectionLabels_, &QCheckBox::toggled, this, &TSchemeView038::SetSectionLabels);
}

void TSchemeView038::SetDrawing(TSchemeDrawing038 drawing)
{
    const TDrawColour colour = static_cast<TDrawColour>(colours_->currentIndex());
    drawing_ = std::move(drawing);
    drawing_.Recolour(colour);
    Rebuild();
    FitAll();
}

void TSchemeView038::Rebuild()
{
    selecting_ = true;
    scene_->clear();
    nodeItems_.clear();
    sectionItems_.clear();
    for (size_t s = 0; s < drawing_.Sections.size(); ++s) {
        auto* item = new TDrawSectionItem(*this, static_cast<int>(s));
        scene_->addItem(item);
        sectionItems_.push_back(item);
    }
    for (size_t n = 0; n < drawing_.Nodes.size(); ++n) {
        auto* item = new TDrawNodeItem(*this, static_cast<int>(n));
        scene_->addItem(item);
        nodeItems_.push_back(item);
    }
    QRectF area = scene_->itemsBoundingRect();
    scene_->setSceneRect(area.adjusted(-area.width() * 0.1 - 40, -area.height() * 0.1 - 40, area.width() * 0.1 + 40,
                                       area.height() * 0.1 + 40));
    selecting_ = false;
}

void TSchemeView038::SetColour(TDrawColour colour)
{
    if (colours_->currentIndex() != static_cast<int>(colour))
        colours_->setCurrentIndex(static_cast<int>(colour));
    drawing_.Recolour(colour);
    scene_->update();
    view_->viewport()->update();
    emit ColourChanged(colour);
}

void TSchemeView038::SetSectionLabels(bool on)
{
    if (sectionLabels_->isChecked() != on)
        sectionLabels_->setChecked(on);
    style_.SectionLabels = on;
    scene_->update();
}

bool TSchemeView038::SelectNode(int guid)
{
    const int index = drawing_.NodeIndex(guid);
    selecting_ = true;
    scene_->clearSelection();
    if (index >= 0) {
        nodeItems_[index]->setSelected(true);
        view_->ensureVisible(nodeItems_[index]->shape().boundingRect(), 60, 60);
    }
    selecting_ = false;
    return index >= 0;
}

bool TSchemeView038::SelectSection(int guid)
{
    const int index = drawing_.SectionIndex(guid);
    selecting_ = true;
    scene_->clearSelection();
    if (index >= 0) {
        sectionItems_[index]->setSelected(true);
        view_->ensureVisible(sectionItems_[index]->shape().boundingRect(), 60, 60);
    }
    selecting_ = false;
    return index >= 0;
}

int TSchemeView038::SelectedNode() const
{
    for (QGraphicsItem* item : scene_->selectedItems())
        if (item->type() == TDrawNodeItem::Type)
            return static_cast<TDrawNodeItem*>(item)->Node().Guid;
    return 0;
}

int TSchemeView038::SelectedSection() const
{
    for (QGraphicsItem* item : scene_->selectedItems())
        if (item->type() == TDrawSectionItem::Type)
            return static_cast<TDrawSectionItem*>(item)->Section().Guid;
    return 0;
}

void TSchemeView038::OnSelectionChanged()
{
    if (selecting_)
        return;
    for (QGraphicsItem* item : scene_->selectedItems()) {
        if (item->type() == TDrawNodeItem::Type) {
            emit NodeChosen(static_cast<TDrawNodeItem*>(item)->Node().Guid);
            return;
        }
        if (item->type() == TDrawSectionItem::Type) {
            emit SectionChosen(static_cast<TDrawSectionItem*>(item)->Section().Guid);
            return;
        }
    }
}

void TSchemeView038::FitAll()
{
    const QRectF area = scene_->itemsBoundingRect();
    if (area.isEmpty())
        return;
    view_->fitInView(area.adjusted(-12, -12, 12, 12), Qt::KeepAspectRatio);
    // Room below the drawing for the legend, which stands over its lower corner.
    if (view_->ShowLegend) {
        const double legend = LegendSize(drawing_).height() * 0.85 / view_->Zoom();
        view_->fitInView(area.adjusted(-12, -12, 12, 12 + legend), Qt::KeepAspectRatio);
    }
    // A small feeder is not blown up beyond its symbols' natural size several times over.
    if (view_->Zoom() > 3) {
        view_->resetTransform();
        view_->scale(3, 3);
        view_->centerOn(area.center());
    }
}

void TSchemeView038::ZoomBy(double factor)
{
    const double target = std::clamp(view_->Zoom() * factor, kLeastZoom, kMostZoom);
    const double k = target / view_->Zoom();
    view_->scale(k, k);
}

bool TSchemeView038::ExportTo(const QString& file, QString& error) const
{
    TPaintStyle style = style_;
    style.NodeLabels = true;
    if (QFileInfo(file).suffix().compare(QLatin1String("pdf"), Qt::CaseInsensitive) == 0)
        return WriteDrawingPdf({drawing_}, file, style, error);
    return WriteDrawingPng(drawing_, file, style, error);
}

void TSchemeView038::PrintTo(QPrinter& printer) const
{
    TPaintStyle style = style_;
    style.NodeLabels = true;
    QPainter painter(&printer);
    PaintPage(painter, QRectF(0, 0, printer.width(), printer.height()), drawing_, style);
}

QString TSchemeView038::SuggestedFileName(const QString& extension) const
{
    QString name = QStringLiteral("Схема %1, %2").arg(drawing_.Title, DrawColourName(drawing_.Colour).toLower());
    name.replace(QRegularExpression(QStringLiteral(R"([\\/:*?"<>|])")), QStringLiteral("_"));
    return name.simplified() + QLatin1Char('.') + extension;
}

void TSchemeView038::SaveAs()
{
    const QString file = host::dialogs().SaveFileName(
        QStringLiteral("Сохранение схемы линии"), QStringLiteral("Рисунок PNG|*.png|Документ PDF|*.pdf"),
        QStringLiteral("png"), host::ProposedSavePath(SuggestedFileName(QStringLiteral("png"))));
    if (file.isEmpty())
        return;
    QString error;
    if (!ExportTo(file, error)) {
        host::ShowWarning(error);
        return;
    }
    host::ShowInformation(QStringLiteral("Схема линии сохранена в файл\n%1").arg(QFileInfo(file).absoluteFilePath()));
}

void TSchemeView038::Print()
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    printer.setDocName(drawing_.Title);
    QPrintPreviewDialog preview(&printer, this);
    preview.setWindowTitle(QStringLiteral("Печать схемы: %1").arg(drawing_.Title));
    connect(&preview, &QPrintPreviewDialog::paintRequested, this, [this](QPrinter* p) { PrintTo(*p); });
    preview.exec();
}

}  // namespace feeders
