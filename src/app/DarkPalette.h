// A dark palette on the Fusion style, for seeing the window as it looks on a dark desktop
// where the platform theme gives none (offscreen pictures, a bare window manager).
#pragma once

class QApplication;

namespace tavrel::app {

class DarkPalette {
public:
    // Sets Fusion and the dark colours on `application` when TAVREL_DARK=1 is in the
    // environment; true when it did.
    static bool applyIfAsked(QApplication& application);
    static void apply(QApplication& application);
};

}  // namespace tavrel::app
