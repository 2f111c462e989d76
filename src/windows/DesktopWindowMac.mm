// SPDX-License-Identifier: GPL-3.0-or-later
// Built on Apple platforms only.
#include <QWidget>

#import <AppKit/AppKit.h>

namespace kestrel::desktopWindow {

// Follows the user to the active space and may float over a full-screen application.
void applyMacCollectionBehaviour(QWidget *window)
{
    NSView *view = reinterpret_cast<NSView *>(window->winId());
    view.window.collectionBehavior =
        NSWindowCollectionBehaviorMoveToActiveSpace | NSWindowCollectionBehaviorFullScreenAuxiliary;
}

} // namespace kestrel::desktopWindow
