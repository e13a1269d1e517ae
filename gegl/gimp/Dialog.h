#ifndef SELVANE_GEGL_GIMP_DIALOG_H
#define SELVANE_GEGL_GIMP_DIALOG_H

#include <gegl.h>
#include <gtk/gtk.h>
#include <string>

namespace SelvaneGegl
{

/// Shows the dialogue with a preview of the picture.
/// @param pSettings as cGraph takes them: what the dialogue begins with and, after OK, what the user chose
/// @returns whether the user chose OK
bool AskUser(GeglBuffer* pPicture, std::string& pSettings);

/// A small window with a bar, for the time of a render. Escape cancels.
class cProgressWindow
{
public:
    cProgressWindow();
    ~cProgressWindow();
    cProgressWindow(const cProgressWindow&) = delete;
    cProgressWindow& operator=(const cProgressWindow&) = delete;

    /// Shows the share that is done, 0 to 1, and looks at the keyboard. Answers false if the user cancels.
    bool Show(double pShare);

private:
    GtkWidget* fWindow;
    GtkWidget* fBar; ///< of fWindow
    bool fCancelled = false;
};

} // namespace SelvaneGegl

#endif
