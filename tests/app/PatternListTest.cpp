// The pattern list: rows dragged and moved with the keyboard, MIDI files dropped on
// it, and the undo and redo of those edits, on the real window.
#include "AppRig.h"

#include "app/QtAlerts.h"
#include "model/CKitMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "support/ScratchFolder.h"
#include "views/CPtnEditTableView.h"
#include "views/PatternListModel.h"

#include <QAbstractItemModelTester>
#include <QDrag>
#include <QMimeData>

#include <sys/stat.h>

namespace tavrel::test {
namespace {

using views::PatternListModel;

// The window with `count` patterns named p0, p1, ... and nothing to undo yet. Every change of the
// list is checked by the model tester, and none may reset the model.
class ListRig {
public:
    explicit ListRig(std::size_t count) : rig({TAVREL_EXAMPLES_DIR "/rock-4-4.mid"}) {
        EXPECT_TRUE(rig.waitLoaded(1));
        while (patterns().getPtnData().size() < count) patterns().addPatternData();
        for (std::size_t i = 0; i < count; ++i)
            patterns().getPtnData()[i]->setName("p" + std::to_string(i));
    }
    views::CPtnEditTableView& list() { return *rig.window().mPtnEditTableView(); }
    // As a click on the first row and Ctrl+clicks on the others would.
    void select(const std::set<int>& rows) {
        for (int row : rows) {
            const auto how = row == *rows.begin() ? QItemSelectionModel::ClearAndSelect
                                                  : QItemSelectionModel::Select;
            list().selectionModel()->setCurrentIndex(model.index(row, 0),
                                                     how | QItemSelectionModel::Rows);
        }
    }
    // The names the list shows, which must be the collection's.
    std::string order() const {
        std::string shown;
        for (int row = 0; row < model.rowCount(); ++row) {
            const QString name = model.index(row, 0).data().toString();
            const auto& p = patterns().getPtnData()[static_cast<std::size_t>(row)];
            EXPECT_EQ(name, QString::fromStdString(p->getName()).trimmed());
            shown += (row > 0 ? " " : "") + name.toStdString();
        }
        return shown;
    }
    // Presses on `row` and drags it away; the drag, or null when none started. The offscreen
    // platform ends a drag at once, so its drop is sent apart.
    std::unique_ptr<QDrag> drag(int row) {
        QWidget* port = list().viewport();
        const QPoint from = list().visualRect(model.index(row, 0)).center();
        QTest::mousePress(port, Qt::LeftButton, {}, from);
        QTest::mouseMove(port, from + QPoint(0, 4));
        QTest::mouseMove(port, from + QPoint(0, 40));
        QTest::mouseRelease(port, Qt::LeftButton, {}, from + QPoint(0, 40));
        return std::unique_ptr<QDrag>(list().findChild<QDrag*>());
    }
    // Drops on the upper edge of `row`, or below the last row.
    void drop(const QMimeData& data, int row) {
        const QPoint at = row < model.rowCount()
                              ? list().visualRect(model.index(row, 0)).topLeft() + QPoint(4, 1)
                              : QPoint(4, list().viewport()->height() - 2);
        // Qt hands a drop only to the widget that took the drag's entry.
        QDragEnterEvent enter(at, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(list().viewport(), &enter);
        QDropEvent drop(at, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(list().viewport(), &drop);
    }

    AppRig rig;
    QAbstractItemModel& model = *rig.window().mPtnEditTableView()->model();
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
    QSignalSpy resets{&model, &QAbstractItemModel::modelReset};
};

// The files of `dir` as a file manager drags them.
std::unique_ptr<QMimeData> files(const QByteArray& dir, const std::vector<QByteArray>& names) {
    QList<QUrl> urls;
    for (const QByteArray& name : names)
        urls << QUrl::fromEncoded("file://" + (dir + name).toPercentEncoding("/"));
    auto data = std::make_unique<QMimeData>();
    data->setUrls(urls);
    return data;
}

// Each edit, then Ctrl+Z and Ctrl+Shift+Z: the same pattern objects come back at their rows,
// the current pattern's row alone is selected, and the edited mark is raised again.
TEST(PatternList, DragsKeyMovesDeletesAndLoadsUndoAndRedo) {
    ListRig list(5);
    const auto dragged = [&](const std::set<int>& rows, int to) {
        return [&list, rows, to] {
            list.select(rows);
            const auto drag = list.drag(*rows.begin());
            ASSERT_NE(drag, nullptr);
            list.drop(*drag->mimeData(), to);
        };
    };
    const auto key = [&](int row, Qt::Key k) {
        return [&list, row, k] {
            list.select({row});
            QTest::keyClick(&list.list(), k, Qt::AltModifier);
        };
    };
    const auto remove = [&] {
        list.select({1, 3});
        QWidget* button = list.rig.window().findChild<QPushButton*>("mDelButton");
        alertOf([&] { QTest::mouseClick(button, Qt::LeftButton); }, "Delete");
        list.rig.show();  // the keys go to the window again, not to the closed question
    };
    const auto load = [&] {
        list.drop(*files(TAVREL_EXAMPLES_DIR "/", {"rock-4-4.mid"}), 0);
        ASSERT_TRUE(waitUntil([] { return patterns().getPtnData().size() == 6; }));
    };
    const struct {
        const char* edit;
        std::function<void()> act;
        const char* order;
        int current;  // the drop row, not where the moved pattern went
    } cases[] = {
        {"drag up", dragged({3}, 1), "p0 p3 p1 p2 p4", 1},
        {"drag down", dragged({0}, 3), "p1 p2 p0 p3 p4", 3},
        {"drag two to the end", dragged({1, 2}, 5), "p0 p3 p4 p1 p2", 4},
        {"Alt+Up", key(3, Qt::Key_Up), "p0 p1 p3 p2 p4", 2},
        {"Alt+Down", key(1, Qt::Key_Down), "p0 p2 p1 p3 p4", 2},
        {"Alt+Up on the first", key(0, Qt::Key_Up), "p0 p1 p2 p3 p4", 0},
        {"delete", remove, "p0 p2 p4", 0},
        {"load", load, "p0 p1 p2 p3 p4 rock-4-4", 5},
    };
    const std::string before = list.order();
    ASSERT_EQ(before, "p0 p1 p2 p3 p4");
    const CPatternMgr::PatternList objects = patterns().getPtnData();
    for (const auto& c : cases) {
        SCOPED_TRACE(c.edit);
        c.act();
        EXPECT_EQ(list.order(), c.order);
        EXPECT_EQ(patterns().getCurPattarnNum(), c.current);
        EXPECT_EQ(list.list().selectedRowIndexes(), std::set<std::int32_t>{c.current});
        if (c.order == before) continue;  // nothing to undo
        CEditNotify::clr();
        QTest::keyClick(&list.rig.window(), Qt::Key_Z, Qt::ControlModifier);
        EXPECT_EQ(list.order(), before);
        EXPECT_EQ(patterns().getPtnData(), objects);
        EXPECT_TRUE(CEditNotify::isEdited());
        QTest::keyClick(&list.rig.window(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        EXPECT_EQ(list.order(), c.order);
        EXPECT_EQ(list.list().selectedRowIndexes(),
                  std::set<std::int32_t>{patterns().getCurPattarnNum()});
        QTest::keyClick(&list.rig.window(), Qt::Key_Z, Qt::ControlModifier);
    }
    EXPECT_EQ(list.resets.count(), 0);
}

// MIDI files load in order while the list has room, other files are skipped without a word,
// and one that cannot be read says so while the rest still load. A loaded file's row shows
// its kit, tempo, time signature and bars.
TEST(PatternList, DroppedFilesLoadWhileThereIsRoom) {
    const ScratchFolder folder;
    const QByteArray dir = QByteArray::fromStdString(folder.path().string() + "/");
    for (const char* name : {"b.MID", "c.midi", "d.mid", "\xff\xfe.mid"}) {
        ASSERT_TRUE(fs::copy_file(TAVREL_EXAMPLES_DIR "/rock-4-4.mid", (dir + name).toStdString()));
    }
    fs::create_directory((dir + "folder.mid").toStdString());
    ASSERT_EQ(::mkfifo(dir + "pipe.mid", 0600), 0);
    ListRig list(48);
    const EveryAlertAnswered ok;
    list.drop(*files(dir, {"folder.mid", "pipe.mid", QByteArray(300, 'x') + ".mid", "c.midi",
                           "\xff\xfe.mid", "b.MID", "d.mid"}),
              0);
    ASSERT_TRUE(waitUntil([] { return patterns().getPtnData().size() == 50; }));
    EXPECT_EQ(list.rig.session().alerts().shown().count("Load MIDI File."), 3);
    EXPECT_TRUE(list.order().ends_with("p47 ?? b")) << list.order();
    EXPECT_EQ(list.list().selectedRowIndexes(), std::set<std::int32_t>{49});
    const auto cell = [&](int column) { return list.model.index(49, column).data(); };
    const CPtnDataMgr& b = *patterns().getPtnData()[49];
    EXPECT_EQ(cell(PatternListModel::Kit), "Studio Rock");
    EXPECT_EQ(cell(PatternListModel::Bpm), b.getTempo());
    EXPECT_EQ(cell(PatternListModel::TimeSig), "4/4");
    // Six variations play the whole file, the four fills one bar.
    EXPECT_EQ(cell(PatternListModel::Bars), 6 * b.getPhraseAtVariation(0)->getTotalBars() + 4);
    patterns().getPtnData()[49]->setKitNum(
        static_cast<std::int32_t>(Context::current().kits().getKitArray().size()));
    EXPECT_FALSE(cell(PatternListModel::Kit).isValid());  // no kit of that number named yet
    // At 50 patterns no row can be dragged.
    EXPECT_EQ(list.drag(3), nullptr);
    EXPECT_EQ(list.resets.count(), 0);
}

}  // namespace
}  // namespace tavrel::test
