#include "views/CPtnEditTableView.h"

#include "model/CKitMgr.h"
#include "model/CPatternMgr.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"

#include <QHeaderView>

namespace tavrel::views {

QString CPtnEditTableView::kitName(std::int32_t kit) {
    const auto& names = Context::current().kits().getKitArray();
    if (kit >= 0 && static_cast<std::size_t>(kit) < names.size()) {
        const QString name = QString::fromStdString(names[static_cast<std::size_t>(kit)]).trimmed();
        if (!name.isEmpty()) return name;
    }
    return QString::number(kit + 1);
}

CPtnEditTableView::CPtnEditTableView(EditHistory& history, QWidget* parent)
    : QTreeWidget(parent), mHistory(history) {
    setObjectName("patternList");
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    setHeaderLabels({"No.", "Name", "Kit", "Tempo", "Beat"});
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    header()->setSectionResizeMode(1, QHeaderView::Stretch);
    // The current pattern follows the selection, as the editor shows the current one.
    connect(this, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
        const int row = indexOfTopLevelItem(item);
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
        auto* item = new QTreeWidgetItem(
            this, {QString::number(number++), QString::fromStdString(p->getName()).trimmed(),
                   kitName(p->getKitNum()), QString::number(p->getTempo()),
                   QString("%1/%2").arg(p->getNume()).arg(p->getDeno())});
        for (int column : {0, 3, 4})
            item->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
    }
    if (QTreeWidgetItem* current = topLevelItem(patterns.getCurPattarnNum())) {
        setCurrentItem(current);
    }
}

std::set<std::int32_t> CPtnEditTableView::selectedRowIndexes() const {
    std::set<std::int32_t> rows;
    for (const QModelIndex& index : selectionModel()->selectedRows()) rows.insert(index.row());
    return rows;
}

}  // namespace tavrel::views
