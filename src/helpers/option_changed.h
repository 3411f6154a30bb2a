#pragma once

namespace rvo_calyr {

struct _CalyrPortraitOption;

// Whether an engine made from one option is the wrong one for the other: the engine's folder, the models' folder, the
// cache's folder, the model quality or the device differ. Compared in this order, up to the first difference. Folders
// are byte strings: they end at the first NUL or with their field, and nothing behind that counts. The model type, the
// reserved path and the flags take no part, on purpose: none of them makes another engine.
// Thread: any.
bool OptionChanged(const _CalyrPortraitOption& left, const _CalyrPortraitOption& right);

}  // namespace rvo_calyr
