// The caption chosen at creation (not written yet: stays empty).
#include "module/handler.h"

namespace quillet {

void CSDKelMN::ChooseMenuCaption() {}

} // namespace quillet
