#include "app/screen/ScreenQml.h"

using namespace vennic;

/// The one thing that the module gives out.
extern "C" Q_DECL_EXPORT void vennicMakeScreen(const Screen::Surroundings* surroundings,
                                               std::unique_ptr<Screen>* made) {
    *made = std::make_unique<ScreenQml>(*surroundings);
}
