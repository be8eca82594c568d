// The drawing of an LV feeder: its items, what they show, the layout's geometry, the colours of the run, the
// choice shared with the scheme panel, the voltage along the line, pictures and PDF documents.
#include <gtest/gtest.h>

#include <QFile>
#include <QGraphicsScene>
#include <QImage>
#include <QPainter>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QTableWidget>
#include <QTest>
#include <cmath>

#include "feeders/Detail038Data.h"
#include "feeders/DetailFixture.h"
#include "feeders/DetailFrame038Unit.h"
#include "feeders/SchemeDrawing038.h"
#include "feeders/SchemeLayout038.h"
#include "feeders/SchemePainter038.h"
#include "feeders/SchemeView038.h"
#include "feeders/VoltageProfileView.h"
#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "support/TestSupport.h"

using namespace testing_support;
using namespace feeders;

namespace {
const TDrawNode& nodeNamed(const TSchemeDrawing038& d, const QString& name)
{
    for (const TDrawNode& n : d.Nodes)
        if (n.Name == name)
            return n;
    ADD_FAILURE() << name.toStdString();
    static const TDrawNode none;
    return none;
}

const TDrawSection& sectionNamed(const TSchemeDrawing038& d, const QString& name)
{
    for (const TDrawSection& s : d.Sections)
        if (s.Name == name)
            return s;
    ADD_FAILURE() << name.toStdString();
    static const TDrawSection none;
    return none;
}

// The scene painted at four pixels per unit; a point of the drawing maps to its pixel.
struct Rendered {
    QImage image;
    QRectF source;
    static constexpr double kScale = 4;
    explicit Rendered(QGraphicsScene& scene) : source(scene.itemsBoundingRect())
    {
        image = QImage((source.size() * kScale).toSize(), QImage::Format_ARGB32);
        image.fill(Qt::white);
        scene.clearSelection();
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        scene.render(&painter, QRectF(QPointF(0, 0), source.size() * kScale), source);
    }
    QColor At(QPointF p) const { return image.pixelColor(((p - source.topLeft()) * kScale).toPoint()); }
};

// The least distance between two of the points.
double closest(const std::vector<QPointF>& points)
{
    double least = std::numeric_limits<double>::infinity();
    for (size_t i = 0; i < points.size(); ++i)
        for (size_t j = i + 1; j < points.size(); ++j)
            least = std::min(least, std::hypot(points[i].x() - points[j].x(), points[i].y() - points[j].y()));
    return least;
}

// The distance from a point to a segment.
double toSegment(QPointF p, QPointF a, QPointF b)
{
    const QPointF ab = b - a;
    const double length2 = ab.x() * ab.x() + ab.y() * ab.y();
    const double t = length2 > 0 ? std::clamp(QPointF::dotProduct(p - a, ab) / length2, 0.0, 1.0) : 0;
    const QPointF q = a + ab * t;
    return std::hypot(p.x() - q.x(), p.y() - q.y());
}

int pdfPages(const QString& file)
{
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray pdf = f.readAll();
    return static_cast<int>(pdf.count("/Type /Page\n") + pdf.count("/Type /Page\r") + pdf.count("/Type /Page ") +
                            pdf.count("/Type /Page>") + pdf.count("/Type /Page/"));
}
}  // namespace

TEST_F(Detail, TheDrawingHasAnItemPerElementConsumersOnTheirPhasesAndTheOpenSwitchCutsTheRest)
{
    TDetail038Frame frame(nullptr, *c_, db_->GetTree()->Find(kFeeder), ident_);
    TSchemeView038* view = frame.Drawing();
    QSet<int> nodeGuids, sectionGuids;
    for (QGraphicsItem* item : view->Scene()->items()) {
        if (item->type() == TDrawNodeItem::Type)
            nodeGuids << static_cast<TDrawNodeItem*>(item)->Node().Guid;
        if (item->type() == TDrawSectionItem::Type)
            sectionGuids << static_cast<TDrawSectionItem*>(item)->Section().Guid;
    }
    EXPECT_EQ(view->Scene()->items().size(), 11);
    EXPECT_EQ(nodeGuids, QSet<int>({kFeeder, 900001, 900002, 900003, 900004, 900005}));
    EXPECT_EQ(sectionGuids, QSet<int>({900011, 900012, 900013, 900014, 900015}));

    const TSchemeDrawing038& d = view->Drawing();
    EXPECT_EQ(d.Nodes.front().Kind, fider::TNodeKind::SupplyCentre);
    EXPECT_EQ(d.Nodes.front().Position, QPointF(0, 0));
    const TDrawNode& ivanov = nodeNamed(d, "Ввод 1");
    EXPECT_TRUE(ivanov.Consumer);
    EXPECT_EQ(ivanov.ConsumerName, "Иванов");
    EXPECT_EQ(ivanov.Phases, fider::PhaseB);
    EXPECT_EQ(ivanov.Owner, fider::TBalanceOwner::ConsumerOwned);
    EXPECT_EQ(nodeNamed(d, "Ввод 2").Phases, fider::PhasesABC);
    EXPECT_TRUE(nodeNamed(d, "Рубильник").Open);
    EXPECT_EQ(sectionNamed(d, "Перемычка").Kind, fider::TSectionKind::Connecting);
    EXPECT_EQ(sectionNamed(d, "Кабель").Kind, fider::TSectionKind::Cable);
    EXPECT_EQ(sectionNamed(d, "Кабель").Conductor, "АВБбШв-95");
    EXPECT_NEAR(nodeNamed(d, "Ввод 2").Distance, 0.04 + 0 + 0.04 + 0.02, 1e-12);

    // Painted: the part behind the switch grey, the consumer fed before it in a colour of its voltage; the open
    // switch's blade turned away from the line, so its middle stays white, where a closed one is crossed.
    Rendered picture(*view->Scene());
    const QPointF inHouse(0, kNodeSize * 0.2);
    EXPECT_EQ(picture.At(nodeNamed(d, "Ввод 2").Position + inHouse), QColor::fromRgb(kDeEnergised));
    const QColor fed = picture.At(ivanov.Position + inHouse);
    EXPECT_NE(fed, QColor::fromRgb(kDeEnergised));
    EXPECT_GT(fed.green(), fed.blue()) << "a voltage near the nominal is green";
    const QPointF gear = nodeNamed(d, "Рубильник").Position;
    EXPECT_EQ(picture.At(gear), QColor(Qt::white));
    TSchemeDrawing038 closed = d;
    closed.Nodes[closed.NodeIndex(900002)].Open = false;
    TSchemeView038 closedView;
    closedView.SetDrawing(closed);
    Rendered closedPicture(*closedView.Scene());
    EXPECT_NE(closedPicture.At(gear), QColor(Qt::white));
    EXPECT_EQ(closedPicture.At(nodeNamed(d, "Ввод 1").Position + inHouse), fed);
}

TEST(SchemeLayout, NoTwoNodesOverlapOnTreesOfTenToAThousandSections)
{
    const TRadialLayoutOptions options;
    auto check = [&](const std::vector<int>& parent, const char* what) {
        const std::vector<QPointF> points = RadialTreeLayout(parent, options);
        ASSERT_EQ(points.size(), parent.size());
        EXPECT_EQ(points[0], QPointF(0, 0)) << what;
        EXPECT_GE(closest(points), options.MinDistance * (1 - 1e-9)) << what;
        // Every node lies farther from the centre than the node it hangs on: the tree grows outward.
        for (size_t i = 1; i < parent.size(); ++i)
            EXPECT_GT(std::hypot(points[i].x(), points[i].y()),
                      std::hypot(points[parent[i]].x(), points[parent[i]].y()) + options.MinDistance * 0.99)
                << what << " node " << i;
    };
    // A main line of 300 poles with a drop at each; a star of 200 drops; random trees of 10 to 1000 sections.
    std::vector<int> line{-1, 0};
    for (int pole = 1; pole < 300; ++pole) {
        const int last = static_cast<int>(line.size()) - 1;
        line.push_back(last);  // the next pole
        line.push_back(last);  // a drop
    }
    check(line, "main line");
    std::vector<int> star(201, 0);
    star[0] = -1;
    check(star, "star");
    QRandomGenerator random(38);
    for (int n : {11, 60, 250, 1001}) {
        std::vector<int> tree{-1};
        for (int i = 1; i < n; ++i)
            tree.push_back(static_cast<int>(random.bounded(i)));
        check(tree, "random");
    }
    // A main line runs straight out to the right of the centre.
    const std::vector<QPointF> chain = RadialTreeLayout({-1, 0, 1, 2, 3});
    for (int i = 1; i < 5; ++i) {
        EXPECT_NEAR(chain[i].y(), 0, 1e-9);
        EXPECT_GT(chain[i].x(), chain[i - 1].x());
    }
}

TEST(SchemeLayoutOnTheDemo, TheLargestFeederIsDrawnWithoutOverlaps)
{
    TempFolder folder;
    auto db = OpenDatabase(NewDemoDatabase(folder));
    ToznFDConnection& c = *db->GetDefaultConnection();
    const int largest = static_cast<int>(Scalar(c, "select first 1 \"OwnerGUID\" from \"LVLines\" group by "
                                                   "\"OwnerGUID\" order by count(*) desc, 1"));
    const int sections = static_cast<int>(
        Scalar(c, QStringLiteral("select count(*) from \"LVLines\" where \"OwnerGUID\"=%1").arg(largest)));
    const TSchemeDrawing038 d = TSchemeDrawing038::Build(Detail038::Read(c, largest));
    ASSERT_TRUE(d.Problems.isEmpty()) << d.Problems.join('\n').toStdString();
    EXPECT_EQ(static_cast<int>(d.Sections.size()), sections);
    EXPECT_EQ(d.Nodes.size(), d.Sections.size() + 1);
    std::vector<QPointF> points;
    for (const TDrawNode& n : d.Nodes)
        points.push_back(n.Position);
    // Two symbols never touch: their centres stand more than a symbol apart.
    EXPECT_GT(closest(points), 2 * kNodeSize);
    // No section passes over a node it does not end in.
    int crossings = 0;
    for (const TDrawSection& s : d.Sections)
        for (size_t n = 0; n < d.Nodes.size(); ++n)
            if (static_cast<int>(n) != s.From && static_cast<int>(n) != s.To &&
                toSegment(d.Nodes[n].Position, d.Nodes[s.From].Position, d.Nodes[s.To].Position) < kNodeSize / 2)
                ++crossings;
    EXPECT_EQ(crossings, 0);
}

TEST_F(Detail, ChoosingOnTheDrawingChoosesTheRowAndBackAndShowsTheVoltageAlongTheLine)
{
    TDetail038Frame frame(nullptr, *c_, db_->GetTree()->Find(kFeeder), ident_);
    frame.resize(1000, 700);
    frame.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&frame));
    TSchemeView038* view = frame.Drawing();
    view->FitAll();
    QApplication::processEvents();

    // A click on the consumer's house.
    const TSchemeDrawing038& d = view->Drawing();
    const QPoint at = view->View()->mapFromScene(nodeNamed(d, "Ввод 1").Position);
    QTest::mouseClick(view->View()->viewport(), Qt::LeftButton, {}, at);
    EXPECT_EQ(view->SelectedNode(), 900004);
    EXPECT_EQ(frame.ChosenGuid(Detail038::Nodes), 900004);
    QTableWidget* nodes = frame.Grid(Detail038::Nodes);
    ASSERT_FALSE(nodes->selectedItems().isEmpty());
    EXPECT_EQ(nodes->item(nodes->selectedItems().front()->row(), 0)->text(), "Ввод 1");

    // Its voltages from the supply centre, as the run stored them: phase B to the house, A and C to the tap.
    TVoltageProfileView* profile = frame.Profile();
    ASSERT_TRUE(profile->Plotted());
    EXPECT_TRUE(profile->Title().contains("Ввод 1"));
    const QList<QPointF> b = profile->PhasePoints(1);
    ASSERT_EQ(b.size(), 3);
    const double stored[] = {
        Scalar(*c_, QStringLiteral("select \"UB\" from \"LVResults\" where \"Ident\"=%1").arg(ident_)),
        Scalar(*c_,
               QStringLiteral("select \"UB\" from \"LVPResultsN\" where \"Ident\"=%1 and guid=900001").arg(ident_)),
        Scalar(*c_,
               QStringLiteral("select \"UB\" from \"LVPResultsN\" where \"Ident\"=%1 and guid=900004").arg(ident_))};
    const double distance[] = {0, 0.04, 0.06};
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(b[k].x(), distance[k], 1e-12);
        EXPECT_DOUBLE_EQ(b[k].y(), stored[k]);
    }
    EXPECT_GT(b[0].y(), b[2].y()) << "the voltage falls along the line";
    EXPECT_EQ(profile->PhasePoints(0).size(), 2);
    EXPECT_EQ(profile->PhasePoints(2).size(), 2);

    // The other way: a section's row chosen in the table is chosen on the drawing.
    frame.SelectFilter("Участки");
    QTableWidget* sections = frame.Grid(Detail038::Sections);
    for (int r = 0; r < sections->rowCount(); ++r)
        if (sections->item(r, 0)->text() == "Кабель")
            sections->selectRow(r);
    EXPECT_EQ(view->SelectedSection(), 900015);
    EXPECT_EQ(view->SelectedNode(), 0);
    // And a node chosen in a filtered table that hides it shows the whole table with the row.
    frame.SelectFilter("Абоненты");
    view->SelectNode(900001);
    emit view->NodeChosen(900001);
    EXPECT_EQ(frame.ChosenGuid(Detail038::Nodes), 900001);
    EXPECT_FALSE(nodes->isRowHidden(nodes->selectedItems().front()->row()));
    // Behind the open switch there is no voltage to plot.
    emit view->NodeChosen(900005);
    EXPECT_FALSE(profile->Plotted());
}

TEST_F(Detail, ColoursFollowTheVoltagesOfTheRunAndTheLimitOfGost)
{
    // One node far below the limit, one at the nominal: the stored run decides, not the calculation.
    Exec(*c_, QStringLiteral("update \"LVPResultsN\" set \"UA\"=200, \"UB\"=229, \"UC\"=230 where \"Ident\"=%1 and "
                             "guid=900001")
                  .arg(ident_));
    Exec(*c_, QStringLiteral("update \"LVPResultsN\" set \"UA\"=231, \"UB\"=254, \"UC\"=230 where \"Ident\"=%1 and "
                             "guid=900002")
                  .arg(ident_));
    const Detail038::FeederState state = Detail038::Read(*c_, kFeeder, ident_);
    TSchemeDrawing038 d = TSchemeDrawing038::Build(state, TDrawColour::Voltage);
    // 200 V is 13 % below 230 V: beyond GOST's 10 %, dark red; 254 V is 10.4 % above: violet.
    const TDrawNode& tap = nodeNamed(d, "Опора 1");
    EXPECT_NEAR(tap.Deviation, (200.0 - 230) / 230 * 100, 1e-9);
    const QColor low = QColor::fromRgb(tap.Colour);
    EXPECT_GT(low.red(), 100);
    EXPECT_LT(low.green(), 40);
    const QColor high = QColor::fromRgb(nodeNamed(d, "Рубильник").Colour);
    EXPECT_GT(high.blue(), high.green()) << "above the limit: violet";
    EXPECT_NE(high, low);
    // The section into a node takes the node's colour.
    EXPECT_EQ(sectionNamed(d, "Пролет 1").Colour, tap.Colour);
    // By phase B the tap is within 0.5 %: green.
    d.Recolour(TDrawColour::VoltageB);
    const QColor nearNominal = QColor::fromRgb(nodeNamed(d, "Опора 1").Colour);
    EXPECT_GT(nearNominal.green(), nearNominal.red());
    EXPECT_NEAR(nodeNamed(d, "Опора 1").Deviation, (229.0 - 230) / 230 * 100, 1e-9);
    // Within the limit the hue turns from green through yellow to red as the deviation grows, the same above and
    // below the nominal.
    int previousHue = 360;
    for (double dev = 0; dev <= kGostVoltageLimit; dev += 0.5) {
        const QColor c = QColor::fromRgb(VoltageColour(-dev));
        EXPECT_LE(c.hsvHue(), previousHue) << dev;
        previousHue = c.hsvHue();
        EXPECT_EQ(VoltageColour(dev), VoltageColour(-dev)) << dev;
    }
    EXPECT_GT(QColor::fromRgb(VoltageColour(0)).hsvHue(), 90) << "green at the nominal";
    EXPECT_LT(QColor::fromRgb(VoltageColour(kGostVoltageLimit)).hsvHue(), 15) << "red at the limit";
    EXPECT_EQ(d.Legend.Marks.front().Value, -kGostVoltageLimit);
    EXPECT_EQ(d.Legend.Marks.back().Value, kGostVoltageLimit);

    // By loading: the section with the largest current stored is the reddest, the least loaded the bluest; the
    // de-energised grey.
    d.Recolour(TDrawColour::Loading);
    const int most = static_cast<int>(Scalar(*c_, QStringLiteral("select first 1 guid from \"LVPResultsL\" where "
                                                                 "\"Ident\"=%1 order by \"I\" desc")
                                                      .arg(ident_)));
    const int least = static_cast<int>(Scalar(*c_, QStringLiteral("select first 1 guid from \"LVPResultsL\" where "
                                                                  "\"Ident\"=%1 order by \"I\"")
                                                       .arg(ident_)));
    ASSERT_NE(most, least);
    const QColor hot = QColor::fromRgb(d.Sections[d.SectionIndex(most)].Colour);
    const QColor cold = QColor::fromRgb(d.Sections[d.SectionIndex(least)].Colour);
    EXPECT_GT(hot.red(), hot.blue());
    EXPECT_GT(hot.red(), cold.red());
    EXPECT_EQ(sectionNamed(d, "Кабель").Colour, kDeEnergised);
    EXPECT_NEAR(d.Legend.High,
                Scalar(*c_, QStringLiteral("select max(\"I\") from \"LVPResultsL\" where \"Ident\"=%1").arg(ident_)),
                1e-9);

    // Without a run there is nothing to colour by, and the legend says so.
    Exec(*c_, QStringLiteral("delete from \"LVResults\" where \"Ident\"=%1").arg(ident_));
    const TSchemeDrawing038 bare = TSchemeDrawing038::Build(Detail038::Read(*c_, kFeeder));
    EXPECT_FALSE(bare.HasRun);
    EXPECT_TRUE(bare.Legend.Empty);
    EXPECT_EQ(nodeNamed(bare, "Опора 1").Colour, kNoResult);
}

TEST_F(Detail, PicturesAndPdfDocumentsFromTheWindowAndTheCommandLine)
{
    TDetail038Frame frame(nullptr, *c_, db_->GetTree()->Find(kFeeder), ident_);
    QString error;
    const QString png = folder_.Path("схема.png"), pdf = folder_.Path("схема.pdf");
    ASSERT_TRUE(frame.Drawing()->ExportTo(png, error)) << error.toStdString();
    ASSERT_TRUE(frame.Drawing()->ExportTo(pdf, error)) << error.toStdString();
    QImage picture(png);
    ASSERT_FALSE(picture.isNull());
    EXPECT_GE(picture.width(), 1200);
    // Not a blank page: the drawing's own colours are there.
    QSet<QRgb> colours;
    for (int y = 0; y < picture.height(); y += 3)
        for (int x = 0; x < picture.width(); x += 3)
            colours << picture.pixel(x, y);
    EXPECT_GT(colours.size(), 20);
    EXPECT_EQ(pdfPages(pdf), 1);
    EXPECT_TRUE(frame.Drawing()->SuggestedFileName("png").startsWith("Схема "));
    EXPECT_FALSE(frame.Drawing()->ExportTo(folder_.Path("нет/такой/папки.png"), error));
    EXPECT_FALSE(error.isEmpty());

    // Without a window or display: a substation's feeders one page each, coloured by losses.
    const int tp = static_cast<int>(
        Scalar(*c_, QStringLiteral("select \"OwnerGUID\" from \"LVFiders\" where guid=%1").arg(kFeeder)));
    const int feeders = static_cast<int>(
        Scalar(*c_, QStringLiteral("select count(*) from \"LVFiders\" where \"OwnerGUID\"=%1").arg(tp)));
    db_.reset();
    const QString db = folder_.Path("demo.fdb"), book = folder_.Path("ТП.pdf");
    QProcess app;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove("QT_QPA_PLATFORM");
    env.remove("DISPLAY");
    env.remove("WAYLAND_DISPLAY");
    app.setProcessEnvironment(env);
    app.start(AppPath(), {"scheme", "draw", "--db", db, "--node", QString::number(tp), "--color", "losses", book});
    ASSERT_TRUE(app.waitForFinished(120000));
    EXPECT_EQ(app.exitCode(), 0) << app.readAllStandardError().toStdString();
    EXPECT_EQ(pdfPages(book), feeders);
    const AppOutcome one = RunApp({"scheme", "draw", "--db", db, "--node", QString::number(kFeeder), png});
    EXPECT_EQ(one.code, 0) << one.err.toStdString();
    EXPECT_TRUE(one.out.contains("узлов 6, участков 5")) << one.out.toStdString();
    const AppOutcome wrong =
        RunApp({"scheme", "draw", "--db", db, "--node", QString::number(kFeeder), "--color", "цвет", png});
    EXPECT_EQ(wrong.code, 2);
    EXPECT_TRUE(wrong.err.contains("Неизвестная раскраска: цвет")) << wrong.err.toStdString();
    const AppOutcome notAFeeder = RunApp({"scheme", "draw", "--db", db, "--node", "1", png});
    EXPECT_EQ(notAFeeder.code, 1);
}
