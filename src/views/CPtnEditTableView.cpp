#include "views/CPtnEditTableView.h"

#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"

namespace tavrel::views {

CPtnEditTableView::CPtnEditTableView(QWidget* parent) : QListWidget(parent) {
    setObjectName("patternList");
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setUniformItemSizes(true);
    // The current pattern follows the selection, as the editor shows the current one.
    connect(this, &QListWidget::currentRowChanged, this, [](int row) {
        CPatternMgr& patterns = Context::current().patterns();
        if (row >= 0 && row != patterns.getCurPattarnNum()) patterns.setCurPatternNum(row);
    });
}

void CPtnEditTableView::reloadData() {
    CPatternMgr& patterns = Context::current().patterns();
    const QSignalBlocker quiet(this);
    clear();
    int number = 1;
    for (const auto& p : patterns.getPtnData()) {
        addItem(QString("%1  %2   kit %3   %4 bpm   %5/%6")
                    .arg(number++, 2)
                    .arg(QString::fromStdString(p->getName()))
                    .arg(p->getKitNum() + 1)
                    .arg(p->getTempo())
                    .arg(p->getNume())
                    .arg(p->getDeno()));
    }
    setCurrentRow(patterns.getCurPattarnNum());
}

std::set<std::int32_t> CPtnEditTableView::selectedRowIndexes() const {
    std::set<std::int32_t> rows;
    for (const QModelIndex& index : selectionModel()->selectedRows()) rows.insert(index.row());
    return rows;
}

}  // namespace tavrel::views
