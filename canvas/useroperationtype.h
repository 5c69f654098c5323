#pragma once

// Selects which input operation the canvas view drives.
enum UserOperationType : int {
    NoOperation = 1, // the view's value before any operation was chosen
    PenOperation = 2,
    EraseOperation = 3,
};
