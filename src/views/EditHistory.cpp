#include "views/EditHistory.h"

#include <QUndoCommand>
#include <QUndoStack>

#include <utility>

namespace tavrel::views {

namespace {

class ModelEdit : public QUndoCommand {
public:
    ModelEdit(const QString& text, EditHistory::Step redo, EditHistory::Step undo, bool made)
        : QUndoCommand(text), mRedo(std::move(redo)), mUndo(std::move(undo)), mSkipRedo(made) {}

    void redo() override {
        // QUndoStack::push runs redo at once; an edit that was already made is not made twice.
        if (std::exchange(mSkipRedo, false)) return;
        mRedo();
    }
    void undo() override { mUndo(); }

private:
    EditHistory::Step mRedo;
    EditHistory::Step mUndo;
    bool mSkipRedo;
};

}  // namespace

EditHistory::EditHistory(QObject* parent) : QObject(parent), mStack(new QUndoStack(this)) {
    setObjectName("editHistory");
}

void EditHistory::record(const QString& text, Step redo, Step undo, Made made) {
    mStack->push(new ModelEdit(text, std::move(redo), std::move(undo), made == Made::Already));
}

void EditHistory::clear() {
    mStack->clear();
}

}  // namespace tavrel::views
