#include "views/CPtnEditTableView.h"

#include "model/CPatternMgr.h"
#include "model/Context.h"
#include "views/PatternEdits.h"
#include "views/PatternListModel.h"

#include <QDropEvent>
#include <QHeaderView>
#include <QItemSelection>
#include <QKeyEvent>

namespace tavrel::views {

namespace {

CPatternMgr& patterns() {
    return Context::current().patterns();
}

// The list only ever copies what is dropped on it: a file manager told that its files were
// moved would delete them. The view's own handling runs on a copy of the event that offers
// nothing but a copy.
template <class Event, class Handler>
void asCopy(Event* event, Handler&& handle) {
    if (!(event->possibleActions() & Qt::CopyAction)) {
        event->ignore();
        return;
    }
    Event copy(event->position().toPoint(), Qt::CopyAction, event->mimeData(), event->buttons(),
               event->modifiers());
    handle(&copy);
    event->setDropAction(Qt::CopyAction);
    event->setAccepted(copy.isAccepted());
}

}  // namespace

CPtnEditTableView::CPtnEditTableView(EditHistory& history, QWidget* parent)
    : QTableView(parent), mHistory(history), mModel(new PatternListModel(history, this)) {
    setObjectName("patternList");
    setModel(mModel);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setAlternatingRowColors(true);
    setShowGrid(false);
    setWordWrap(false);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDragDropOverwriteMode(false);
    setDefaultDropAction(Qt::CopyAction);
    setDropIndicatorShown(true);

    QHeaderView* columns = horizontalHeader();
    columns->setSectionResizeMode(QHeaderView::ResizeToContents);
    columns->setSectionResizeMode(PatternListModel::Name, QHeaderView::Stretch);
    columns->setHighlightSections(false);
    QHeaderView* rows = verticalHeader();
    rows->setSectionResizeMode(QHeaderView::Fixed);
    rows->setDefaultSectionSize(fontMetrics().height() + 8);
    rows->setHighlightSections(false);

    // The current pattern follows the user's choice of row, so the editor shows it at once;
    // the moves of the current row that come with rows inserted or removed are not a choice.
    connect(selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& current) {
                const int row = current.row();
                if (mModel->applying() || row < 0) return;
                if (row != patterns().getCurPattarnNum()) patterns().setCurPatternNum(row);
            });
    connect(mModel, &PatternListModel::changeApplied, this, [this](bool rowsChanged) {
        if (rowsChanged || currentIndex().row() != patterns().getCurPattarnNum()) {
            selectCurrentRow();
        }
    });
    selectCurrentRow();
}

void CPtnEditTableView::reloadData() {
    mModel->refresh();
}

std::set<std::int32_t> CPtnEditTableView::selectedRowIndexes() const {
    std::set<std::int32_t> rows;
    for (const QModelIndex& index : selectionModel()->selectedRows()) rows.insert(index.row());
    return rows;
}

void CPtnEditTableView::selectCurrentRow() {
    const int row = patterns().getCurPattarnNum();
    if (row < 0 || row >= mModel->rowCount()) {
        selectionModel()->clear();
        return;
    }
    const QModelIndex index = mModel->index(row, 0);
    selectionModel()->setCurrentIndex(
        index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    scrollTo(index);
}

// One row up moves the rows before the one above them; one row down, before the second row
// below the last of them (the end when that is past it). Unlike a drop, the moved rows stay
// chosen, so the same keys move them on.
void CPtnEditTableView::moveSelectedRows(int step) {
    const std::set<std::int32_t> rows = selectedRowIndexes();
    if (rows.empty()) return;
    const int target = step < 0 ? *rows.begin() - 1 : *rows.rbegin() + 2;
    if (target < 0 || target > mModel->rowCount()) return;
    std::vector<std::shared_ptr<CPtnDataMgr>> moved;
    for (const std::int32_t row : rows) moved.push_back(patterns().getPtnData().at(row));
    PatternEdits::movePatterns(mHistory, target, rows);
    QItemSelection selection;
    for (const auto& pattern : moved) {
        const int row = patterns().rowOf(pattern.get());
        if (row >= 0) selection.select(mModel->index(row, 0), mModel->index(row, 0));
    }
    if (selection.isEmpty()) return;
    selectionModel()->setCurrentIndex(selection.first().topLeft(), QItemSelectionModel::NoUpdate);
    selectionModel()->select(selection,
                             QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    scrollTo(selection.first().topLeft());
}

void CPtnEditTableView::keyPressEvent(QKeyEvent* event) {
    const bool up = event->key() == Qt::Key_Up;
    if (event->modifiers() == Qt::AltModifier && (up || event->key() == Qt::Key_Down)) {
        moveSelectedRows(up ? -1 : 1);
        return;
    }
    QTableView::keyPressEvent(event);
}

void CPtnEditTableView::dragEnterEvent(QDragEnterEvent* event) {
    asCopy(event, [this](QDragEnterEvent* e) { QTableView::dragEnterEvent(e); });
}

void CPtnEditTableView::dragMoveEvent(QDragMoveEvent* event) {
    asCopy(event, [this](QDragMoveEvent* e) { QTableView::dragMoveEvent(e); });
}

void CPtnEditTableView::dropEvent(QDropEvent* event) {
    asCopy(event, [this](QDropEvent* e) { QTableView::dropEvent(e); });
}

}  // namespace tavrel::views
