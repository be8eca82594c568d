#pragma once
// What the tests of windows need besides the common support: answering the next modal dialog.
#include <functional>

#include "support/TestSupport.h"

class QDialog;

namespace testing_support {

// Closes the next modal dialog with a result once it is shown, after letting the test look at it.
void CloseNextModal(int result, std::function<void(QDialog*)> inspect = {});

}  // namespace testing_support
