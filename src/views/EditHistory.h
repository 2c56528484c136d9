// The edits a user made in the pattern list and the editors, to undo and redo. Every edit
// changes the collection through the collection's own setters both ways, so an undone edit
// posts the same notifications and raises the edited mark like the edit itself. A collection
// replaced as a whole (read from the unit or from a pattern file) starts a new history.
#pragma once

#include <QObject>
#include <QString>

#include <functional>

class QUndoStack;

namespace tavrel::views {

class EditHistory : public QObject {
    Q_OBJECT
public:
    using Step = std::function<void()>;
    // Whether the edit has already been made when it is recorded (a drag that changed the
    // window as it went) or is made by recording it.
    enum class Made : bool { No, Already };

    explicit EditHistory(QObject* parent = nullptr);

    QUndoStack& stack() { return *mStack; }
    // Records an edit named `text` ("Rename Pattern"): `redo` makes it, `undo` takes it back.
    void record(const QString& text, Step redo, Step undo, Made made = Made::No);
    // Forgets every edit: the collection they were made on is gone.
    void clear();

private:
    QUndoStack* mStack;
};

}  // namespace tavrel::views
