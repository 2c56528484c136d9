#include "views/PatternListModel.h"

#include "model/CKitMgr.h"
#include "model/CPhraseData.h"
#include "model/CPtnDataMgr.h"
#include "model/Context.h"
#include "model/Notifications.h"
#include "views/PatternEdits.h"

#include <QDataStream>
#include <QIODevice>
#include <QMimeData>
#include <QScopedValueRollback>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <filesystem>

namespace tavrel::views {

namespace {

CPatternMgr& patterns() {
    return Context::current().patterns();
}

QString withoutTrailingSpaces(const std::string& text) {
    QString s = QString::fromStdString(text);
    while (s.endsWith(' ')) s.chop(1);
    return s;
}

// The kit's name as the unit reported it; nothing before the names are read.
QVariant kitCell(std::int32_t kit) {
    const auto& names = Context::current().kits().getKitArray();
    if (kit < 0 || static_cast<std::size_t>(kit) >= names.size()) return {};
    return QString::fromStdString(names[static_cast<std::size_t>(kit)]).trimmed();
}

QVariant cell(const CPtnDataMgr& pattern, int column) {
    switch (column) {
        case PatternListModel::Name:
            return withoutTrailingSpaces(pattern.getName());
        case PatternListModel::Kit:
            return kitCell(pattern.getKitNum());
        case PatternListModel::Bpm:
            return pattern.getTempo();
        case PatternListModel::TimeSig:
            return QString("%1/%2").arg(pattern.getNume()).arg(pattern.getDeno());
        case PatternListModel::Bars: {
            int bars = 0;
            for (int v = 0; v < kVariationCount; ++v)
                bars += pattern.getPhraseAtVariation(v)->getBars();
            return bars;
        }
        default:
            return {};
    }
}

QByteArray encodeRows(const CPatternMgr::IndexSet& rows) {
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out << static_cast<quint32>(rows.size());
    for (std::int32_t row : rows) out << static_cast<qint32>(row);
    return bytes;
}

// Rows of this list only: the data may come from another program's drag.
CPatternMgr::IndexSet decodeRows(const QByteArray& bytes, int rowCount) {
    QDataStream in(bytes);
    quint32 count = 0;
    in >> count;
    CPatternMgr::IndexSet rows;
    // A count that claims more rows than the data holds ends at the data's end.
    for (quint32 i = 0; i < count && in.status() == QDataStream::Ok; ++i) {
        qint32 row = -1;
        in >> row;
        if (in.status() == QDataStream::Ok && row >= 0 && row < rowCount) rows.insert(row);
    }
    return rows;
}

// The path as the bytes the file system knows it by: the URL carries a name that is not
// UTF-8 percent-encoded, and decoding it into text would lose those bytes.
std::string localPath(const QUrl& url) {
    return QByteArray::fromPercentEncoding(url.path(QUrl::FullyEncoded).toLatin1()).toStdString();
}

bool isMidiFileName(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; });
    return extension == ".MID";
}

}  // namespace

PatternListModel::PatternListModel(EditHistory& history, QObject* parent)
    : QAbstractTableModel(parent), mHistory(history), mRows(patterns().getPtnData()) {
    auto& centre = Context::current().notifications();
    const auto take = [this](const Notification& n) { this->take(n.change); };
    mChanged = centre.addObserver(NOTIFY_PATTERN_PARM_CHANGED, take);
    mKitChanged = centre.addObserver(NOTIFY_UPDATE_PARM, take);
}

int PatternListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(mRows.size());
}

int PatternListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant PatternListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    if (role == Qt::DisplayRole) {
        return cell(*mRows[static_cast<std::size_t>(index.row())], index.column());
    }
    if (role == Qt::TextAlignmentRole && index.column() >= Bpm) {
        return QVariant(Qt::AlignRight | Qt::AlignVCenter);
    }
    return {};
}

QVariant PatternListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    const bool numbers = orientation == Qt::Vertical || section >= Bpm;
    if (role == Qt::TextAlignmentRole) {
        return QVariant((numbers ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    }
    if (role != Qt::DisplayRole) return {};
    if (orientation == Qt::Vertical) return section + 1;
    static const char* const titles[ColumnCount] = {"Name", "Kit", "BPM", "Beat", "Bars"};
    return section >= 0 && section < ColumnCount ? QVariant(titles[section]) : QVariant();
}

Qt::ItemFlags PatternListModel::flags(const QModelIndex& index) const {
    // Drops go between rows or below the last, never onto a pattern.
    if (!index.isValid()) return Qt::ItemIsDropEnabled;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsDragEnabled |
           Qt::ItemNeverHasChildren;
}

QStringList PatternListModel::mimeTypes() const {
    return {kRowsMimeType, "text/uri-list"};
}

QMimeData* PatternListModel::mimeData(const QModelIndexList& indexes) const {
    if (mRows.size() >= kMaxPatterns) return nullptr;
    CPatternMgr::IndexSet rows;
    for (const QModelIndex& index : indexes) {
        if (index.isValid()) rows.insert(index.row());
    }
    if (rows.empty()) return nullptr;
    auto* data = new QMimeData;
    data->setData(kRowsMimeType, encodeRows(rows));
    return data;
}

Qt::DropActions PatternListModel::supportedDragActions() const {
    return Qt::CopyAction;
}

Qt::DropActions PatternListModel::supportedDropActions() const {
    return Qt::CopyAction;
}

bool PatternListModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row,
                                    int /*column*/, const QModelIndex& parent) {
    if (action == Qt::IgnoreAction) return true;
    if (data == nullptr) return false;
    const QList<QUrl> urls = data->urls();
    if (!urls.isEmpty()) {
        for (const QUrl& url : urls) {
            if (url.isLocalFile() && isMidiFileName(localPath(url))) {
                mDroppedFiles.push_back(localPath(url));
            }
        }
        // After the drop has been answered: a file may bring up a question, and the program
        // the files came from waits for the answer to its drag.
        QTimer::singleShot(0, this, &PatternListModel::loadDroppedFiles);
        return true;
    }
    if (parent.isValid()) row = parent.row();
    if (row < 0 || row > rowCount()) row = rowCount();
    const CPatternMgr::IndexSet rows = decodeRows(data->data(kRowsMimeType), rowCount());
    if (rows.empty()) return false;
    PatternEdits::movePatterns(mHistory, row, rows);
    return true;
}

void PatternListModel::loadDroppedFiles() {
    // A question shown by one load runs the event loop, which may come back here.
    if (mLoadingFiles) return;
    mLoadingFiles = true;
    while (!mDroppedFiles.empty()) {
        const std::string path = std::move(mDroppedFiles.front());
        mDroppedFiles.pop_front();
        if (patterns().getPtnData().size() < kMaxPatterns) {
            PatternEdits::loadMidiFile(mHistory, path);
        }
    }
    mLoadingFiles = false;
}

void PatternListModel::refresh() {
    take(nullptr);
}

void PatternListModel::take(const PatternChange* change) {
    using Kind = PatternChange::Kind;
    const Kind kind = change != nullptr ? change->kind : Kind::Reset;
    if (kind == Kind::Parameter) {
        rowChanged(change->pattern);
        return;
    }
    if (kind == Kind::Current) {
        emit changeApplied(false);
        return;
    }
    {
        const QScopedValueRollback<bool> applying(mApplying, true);
        bool taken = false;
        if (kind == Kind::Inserted) {
            taken = takeInserted(change->pattern);
        } else if (kind == Kind::Removed) {
            taken = takeRemoved(change->rows);
        } else if (kind == Kind::Moved) {
            taken = takeMoved();
        }
        // A record that does not describe what happened costs a reset, never a wrong row.
        if (!taken || mRows != patterns().getPtnData()) resync();
    }
    emit changeApplied(true);
}

bool PatternListModel::takeInserted(std::int32_t row) {
    const auto& now = patterns().getPtnData();
    if (row < 0 || static_cast<std::size_t>(row) > mRows.size() || now.size() != mRows.size() + 1) {
        return false;
    }
    beginInsertRows({}, row, row);
    mRows.insert(mRows.begin() + row, now[static_cast<std::size_t>(row)]);
    endInsertRows();
    return true;
}

bool PatternListModel::takeRemoved(std::vector<std::int32_t> rows) {
    std::sort(rows.begin(), rows.end(), std::greater<>());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    if (rows.empty() || rows.back() < 0 || static_cast<std::size_t>(rows.front()) >= mRows.size()) {
        return false;
    }
    // From the last row up, a run of neighbouring rows at a time.
    for (std::size_t i = 0; i < rows.size();) {
        std::size_t j = i + 1;
        while (j < rows.size() && rows[j] == rows[j - 1] - 1) ++j;
        const std::int32_t first = rows[j - 1];
        const std::int32_t last = rows[i];
        beginRemoveRows({}, first, last);
        mRows.erase(mRows.begin() + first, mRows.begin() + last + 1);
        endRemoveRows();
        i = j;
    }
    return true;
}

// The collection has the new order already; the rows get there by moves of blocks that stay
// together, which keeps the views' selection and scroll position on the patterns.
bool PatternListModel::takeMoved() {
    const auto& order = patterns().getPtnData();
    if (!std::is_permutation(mRows.begin(), mRows.end(), order.begin(), order.end())) return false;
    for (std::size_t i = 0; i < order.size(); ++i) {
        if (mRows[i] == order[i]) continue;
        const auto from = static_cast<std::size_t>(
            std::find(mRows.begin() + static_cast<std::ptrdiff_t>(i), mRows.end(), order[i]) -
            mRows.begin());
        std::size_t length = 1;
        while (from + length < mRows.size() && mRows[from + length] == order[i + length]) ++length;
        beginMoveRows({}, static_cast<int>(from), static_cast<int>(from + length - 1), {},
                      static_cast<int>(i));
        const auto begin = mRows.begin();
        std::rotate(begin + static_cast<std::ptrdiff_t>(i),
                    begin + static_cast<std::ptrdiff_t>(from),
                    begin + static_cast<std::ptrdiff_t>(from + length));
        endMoveRows();
    }
    return true;
}

void PatternListModel::rowChanged(std::int32_t row) {
    if (row < 0 || row >= rowCount()) return;
    emit dataChanged(index(row, 0), index(row, ColumnCount - 1));
}

void PatternListModel::resync() {
    if (mRows == patterns().getPtnData()) {
        if (!mRows.empty()) emit dataChanged(index(0, 0), index(rowCount() - 1, ColumnCount - 1));
        return;
    }
    beginResetModel();
    mRows = patterns().getPtnData();
    endResetModel();
}

}  // namespace tavrel::views
