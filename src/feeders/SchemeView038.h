#pragma once
// The drawing of an LV feeder in a window: one item per node and per section, zoom (wheel, buttons), pan (drag),
// fit to the window, the result to colour by with its legend, conductors and lengths on demand, a picture or PDF
// of it and printing. Choosing a node or section tells the owner, which shows its row; the owner's choice
// selects the item here.
#include <QGraphicsItem>
#include <QGraphicsView>
#include <QWidget>

#include "feeders/SchemeDrawing038.h"
#include "feeders/SchemePainter038.h"

class QCheckBox;
class QComboBox;
class QPrinter;
class QToolButton;

namespace feeders {

class TSchemeView038;

// An element of the drawing in the scene: the view that draws it and its place in the drawing's list.
class TDrawItem : public QGraphicsItem {
public:
    TDrawItem(TSchemeView038& view, int index) : view_(view), index_(index) {}
    int Index() const { return index_; }

protected:
    TSchemeView038& view_;
    int index_;
};

// The items of the scene; their type tells nodes from sections.
class TDrawNodeItem : public TDrawItem {
public:
    enum { Type = UserType + 38 };
    TDrawNodeItem(TSchemeView038& view, int index);
    int type() const override { return Type; }
    const TDrawNode& Node() const;
    QRectF boundingRect() const override;
    QPainterPath shape() const override;
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;
};

class TDrawSectionItem : public TDrawItem {
public:
    enum { Type = UserType + 39 };
    TDrawSectionItem(TSchemeView038& view, int index);
    int type() const override { return Type; }
    const TDrawSection& Section() const;
    QRectF boundingRect() const override;
    QPainterPath shape() const override;
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;
};

// The graphics view itself: wheel zooms around the pointer, a drag on the background pans, the legend stays in
// its corner.
class TSchemeGraphicsView : public QGraphicsView {
    Q_OBJECT
public:
    TSchemeGraphicsView(TSchemeView038& owner, QWidget* parent);
    double Zoom() const { return transform().m11(); }
    // Whether the drawing is kept fitted to the window as it changes size (until the user zooms).
    bool AutoFit = true;
    bool ShowLegend = true;

protected:
    void wheelEvent(QWheelEvent* event) override;
    void drawForeground(QPainter* painter, const QRectF& rect) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    TSchemeView038& owner_;
};

class TSchemeView038 : public QWidget {
    Q_OBJECT
public:
    explicit TSchemeView038(QWidget* parent = nullptr);

    // Shows a drawing (its colouring replaced by the one chosen here) and fits it to the window.
    void SetDrawing(TSchemeDrawing038 drawing);
    const TSchemeDrawing038& Drawing() const { return drawing_; }
    const TPaintStyle& Style() const { return style_; }
    TDrawColour Colour() const { return drawing_.Colour; }
    void SetColour(TDrawColour colour);
    void SetSectionLabels(bool on);

    // Selects the item of a node or section (by GUID) and brings it into view; false when the drawing has none.
    bool SelectNode(int guid);
    bool SelectSection(int guid);
    // The GUID of the node chosen, 0 when none is (or a section is).
    int SelectedNode() const;
    int SelectedSection() const;

    void FitAll();
    void ZoomBy(double factor);
    double Zoom() const { return view_->Zoom(); }
    QGraphicsScene* Scene() const { return scene_; }
    TSchemeGraphicsView* View() const { return view_; }
    // The row of the drawing's controls; an owner may place it elsewhere (above several panes).
    QWidget* Bar() const { return bar_; }

    // Writes the drawing to a PNG picture or a PDF page (by the file's extension); false with the reason.
    bool ExportTo(const QString& file, QString& error) const;
    // Paints the drawing on a printer's page.
    void PrintTo(QPrinter& printer) const;

    // The name a saved picture gets by default: "Схема Л-2 Садовая (ТП-221), напряжение.png".
    QString SuggestedFileName(const QString& extension) const;

signals:
    void NodeChosen(int guid);
    void SectionChosen(int guid);
    void ColourChanged(feeders::TDrawColour colour);

private:
    void Rebuild();
    void OnSelectionChanged();
    void SaveAs();
    void Print();
    TSchemeDrawing038 drawing_;
    TPaintStyle style_;
    QGraphicsScene* scene_;
    TSchemeGraphicsView* view_;
    QWidget* bar_;
    QComboBox* colours_;
    QCheckBox* sectionLabels_;
    std::vector<TDrawNodeItem*> nodeItems_;
    std::vector<TDrawSectionItem*> sectionItems_;
    bool selecting_ = false;
};

}  // namespace feeders
