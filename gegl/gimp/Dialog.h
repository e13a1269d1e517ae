#ifndef SELVANE_GEGL_GIMP_DIALOG_H
#define SELVANE_GEGL_GIMP_DIALOG_H

#include <gegl.h>
#include <string>

namespace SelvaneGegl
{

/// Shows the dialogue with a preview of the picture.
/// @param pSettings as cGraph takes them: what the dialogue begins with and, after OK, what the user chose
/// @returns whether the user chose OK
bool AskUser(GeglBuffer* pPicture, std::string& pSettings);

} // namespace SelvaneGegl

#endif
