// The dialogue: a preview of the shown size beside the properties of the operation, which GEGL describes.

#include "Dialog.h"

#include "Graph.h"

#include <gegl-paramspecs.h>
#include <libgimp/gimp.h>
#include <libgimp/gimpui.h>
#include <vector>

namespace SelvaneGegl
{

namespace
{

constexpr int kPreview = 560; // pixels of the longer side
constexpr int kReset = 1;     // response of the button

/// The small picture that follows the sliders.
class cPreview
{
public:
    cPreview(GeglBuffer* pPicture, const std::string& pSettings)
        : fSmall(Reduced(pPicture, kPreview)), fGraph(fSmall.get(), pSettings), fArea(gimp_preview_area_new()),
          fResult(gegl_buffer_new(gegl_buffer_get_extent(fSmall.get()), babl_format("R'G'B'A u8")))
    {
        const GeglRectangle* const size = gegl_buffer_get_extent(fSmall.get());
        gtk_widget_set_size_request(fArea, size->width, size->height);
        g_signal_connect_swapped(fArea, "size-allocate", G_CALLBACK(Queue), this);
        fNotify = g_signal_connect_swapped(fGraph.Operation(), "notify", G_CALLBACK(Queue), this);
    }
    ~cPreview()
    {
        g_signal_handler_disconnect(fGraph.Operation(), fNotify);
        if (fIdle != 0) g_source_remove(fIdle);
    }
    cPreview(const cPreview&) = delete;
    cPreview& operator=(const cPreview&) = delete;

    GtkWidget* Area() const { return fArea; }
    const cGraph& Graph() const { return fGraph; }

private:
    /// While a slider moves, only the latest position is drawn.
    static void Queue(cPreview* pThis)
    {
        if (pThis->fIdle == 0) pThis->fIdle = g_idle_add(Draw, pThis);
    }

    static gboolean Draw(void* pThis)
    {
        auto* const preview = static_cast<cPreview*>(pThis);
        preview->fIdle = 0;
        preview->fGraph.Render(preview->fResult.get());
        const GeglRectangle* const size = gegl_buffer_get_extent(preview->fResult.get());
        std::vector<guchar> bytes(size_t{4} * static_cast<size_t>(size->width) * static_cast<size_t>(size->height));
        gegl_buffer_get(preview->fResult.get(), size, 1.0, babl_format("R'G'B'A u8"), bytes.data(), GEGL_AUTO_ROWSTRIDE,
                        GEGL_ABYSS_NONE);
        gimp_preview_area_draw(GIMP_PREVIEW_AREA(preview->fArea), 0, 0, size->width, size->height, GIMP_RGBA_IMAGE,
                               bytes.data(), 4 * size->width);
        return G_SOURCE_REMOVE;
    }

    tBuffer fSmall;
    cGraph fGraph;
    GtkWidget* fArea; ///< its window's
    tBuffer fResult;
    gulong fNotify = 0;
    guint fIdle = 0;
};

std::vector<GParamSpec*> PropertiesOf(GObject* pOperation)
{
    guint count = 0;
    GParamSpec** const list = gegl_operation_list_properties("selvane:tone-map", &count);
    std::vector<GParamSpec*> properties;
    for (guint i = 0; i < count; i++)
        properties.push_back(g_object_class_find_property(G_OBJECT_GET_CLASS(pOperation), list[i]->name));
    g_free(list);
    return properties;
}

/// Widgets one below the other, in three columns: label, slider, number.
class cColumn
{
public:
    explicit cColumn(GObject* pOperation) : fOperation(pOperation), fTable(gtk_table_new(1, 3, FALSE))
    {
        gtk_table_set_row_spacings(GTK_TABLE(fTable), 4);
        gtk_table_set_col_spacings(GTK_TABLE(fTable), 6);
    }

    GtkWidget* Table() const { return fTable; }

    void Add(GParamSpec* pProperty)
    {
        if (GEGL_IS_PARAM_SPEC_DOUBLE(pProperty))
            AddScale(pProperty);
        else if (G_IS_PARAM_SPEC_BOOLEAN(pProperty))
            AddWide(gimp_prop_check_button_new(fOperation, pProperty->name, g_param_spec_get_nick(pProperty)),
                    pProperty);
        else
            AddChoice(pProperty);
        fRow++;
    }

private:
    /// Says what a widget is for, and lets it rest while the property that it needs is off.
    void Explain(GtkWidget* pWidget, GParamSpec* pProperty)
    {
        gimp_help_set_help_data(pWidget, g_param_spec_get_blurb(pProperty), nullptr);
        for (const char* const key : {"sensitive", "visible"}) {
            const char* const needed = gegl_param_spec_get_property_key(pProperty, key);
            if (needed != nullptr && g_object_class_find_property(G_OBJECT_GET_CLASS(fOperation), needed) != nullptr)
                g_object_bind_property(fOperation, needed, pWidget, "sensitive", G_BINDING_SYNC_CREATE);
        }
    }

    void AddScale(GParamSpec* pProperty)
    {
        const GeglParamSpecDouble* const range = GEGL_PARAM_SPEC_DOUBLE(pProperty);
        GtkObject* const entry = gimp_prop_scale_entry_new(
            fOperation, pProperty->name, GTK_TABLE(fTable), 0, fRow, g_param_spec_get_nick(pProperty),
            range->ui_step_small, range->ui_step_big, range->ui_digits, TRUE, range->ui_minimum, range->ui_maximum);
        GtkWidget* const scale = GTK_WIDGET(GIMP_SCALE_ENTRY_SCALE(entry));
        gtk_widget_set_size_request(scale, 160, -1);
        Explain(scale, pProperty);
        Explain(GTK_WIDGET(GIMP_SCALE_ENTRY_SPINBUTTON(entry)), pProperty);
    }

    void AddChoice(GParamSpec* pProperty)
    {
        GtkWidget* const choice = gimp_prop_enum_combo_box_new(fOperation, pProperty->name, 0, 0);
        Explain(choice, pProperty);
        gimp_table_attach_aligned(GTK_TABLE(fTable), 0, fRow, g_param_spec_get_nick(pProperty), 0.0f, 0.5f, choice, 2,
                                  FALSE);
    }

    void AddWide(GtkWidget* pWidget, GParamSpec* pProperty)
    {
        Explain(pWidget, pProperty);
        const auto row = static_cast<guint>(fRow);
        gtk_table_attach_defaults(GTK_TABLE(fTable), pWidget, 0, 3, row, row + 1);
        gtk_widget_show(pWidget);
    }

    GObject* fOperation;
    GtkWidget* fTable;
    int fRow = 0;
};

/// The keys of a curve over hue stand on a page of their own: those whose names begin with the name of the curve.
GtkWidget* CurvePages(GObject* pOperation, const std::vector<GParamSpec*>& pProperties)
{
    GtkWidget* const pages = gtk_notebook_new();
    const auto* const curves = static_cast<GEnumClass*>(
        g_type_class_ref(g_object_class_find_property(G_OBJECT_GET_CLASS(pOperation), "hue-curve")->value_type));
    for (guint i = 0; i < curves->n_values; i++) {
        cColumn column(pOperation);
        const std::string prefix = std::string(curves->values[i].value_nick) + "-";
        for (GParamSpec* const property : pProperties)
            if (g_str_has_prefix(property->name, prefix.c_str())) column.Add(property);
        gtk_container_set_border_width(GTK_CONTAINER(column.Table()), 6);
        gtk_notebook_append_page(GTK_NOTEBOOK(pages), column.Table(), gtk_label_new(curves->values[i].value_name));
    }
    return pages;
}

bool IsOfACurve(const GParamSpec* pProperty)
{
    const std::string name = pProperty->name;
    return name == "hue-curve" || g_str_has_prefix(name.c_str(), "shift-") ||
           g_str_has_prefix(name.c_str(), "saturation-") || g_str_has_prefix(name.c_str(), "lightness-");
}

GtkWidget* Controls(GObject* pOperation)
{
    const std::vector<GParamSpec*> properties = PropertiesOf(pOperation);
    cColumn sliders(pOperation);
    for (GParamSpec* const property : properties)
        if (!IsOfACurve(property)) sliders.Add(property);
    GtkWidget* const hues = gimp_frame_new("Curves over hue");
    gtk_container_add(GTK_CONTAINER(hues), CurvePages(pOperation, properties));
    GtkWidget* const box = gtk_vbox_new(FALSE, 12);
    gtk_box_pack_start(GTK_BOX(box), sliders.Table(), FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), hues, FALSE, FALSE, 0);
    return box;
}

void Reset(GObject* pOperation)
{
    for (GParamSpec* const property : PropertiesOf(pOperation)) {
        GValue value = G_VALUE_INIT;
        g_value_init(&value, property->value_type);
        g_param_value_set_default(property, &value);
        g_object_set_property(pOperation, property->name, &value);
        g_value_unset(&value);
    }
}

GtkWidget* Window(const cPreview& pPreview)
{
    GtkWidget* const window =
        gimp_dialog_new("Selvane Tone Map", "selvane-tone-map", nullptr, GtkDialogFlags(0), nullptr, nullptr, "_Reset",
                        kReset, "_Cancel", GTK_RESPONSE_CANCEL, "_OK", GTK_RESPONSE_OK, nullptr);
    gimp_window_set_transient(GTK_WINDOW(window));
    GtkWidget* const box = gtk_hbox_new(FALSE, 12);
    gtk_container_set_border_width(GTK_CONTAINER(box), 12);
    GtkWidget* const middle = gtk_alignment_new(0.5f, 0.5f, 0.0f, 0.0f);
    gtk_container_add(GTK_CONTAINER(middle), pPreview.Area());
    gtk_box_pack_start(GTK_BOX(box), middle, TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(box), Controls(pPreview.Graph().Operation()), FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(window))), box, TRUE, TRUE, 0);
    gtk_widget_show_all(window);
    return window;
}

} // namespace

bool AskUser(GeglBuffer* pPicture, std::string& pSettings)
{
    gimp_ui_init("selvane-tone-map", FALSE);
    const cPreview preview(pPicture, pSettings);
    GtkWidget* const window = Window(preview);
    int response = kReset;
    while ((response = gimp_dialog_run(GIMP_DIALOG(window))) == kReset)
        Reset(preview.Graph().Operation());
    pSettings = preview.Graph().Settings();
    gtk_widget_destroy(window);
    return response == GTK_RESPONSE_OK;
}

cProgressWindow::cProgressWindow()
    : fWindow(gimp_dialog_new("Tone mapping", "selvane-tone-map-progress", nullptr, GtkDialogFlags(0), nullptr, nullptr,
                              "_Cancel", GTK_RESPONSE_CANCEL, nullptr)),
      fBar(gtk_progress_bar_new())
{
    gimp_window_set_transient(GTK_WINDOW(fWindow));
    gtk_widget_set_size_request(fBar, 320, -1);
    gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(fWindow))), fBar, TRUE, TRUE, 12);
    const auto cancel = +[](GtkDialog*, int, bool* pCancelled) { *pCancelled = true; };
    g_signal_connect(fWindow, "response", G_CALLBACK(cancel), &fCancelled);
    gtk_widget_show_all(fWindow);
}

cProgressWindow::~cProgressWindow()
{
    gtk_widget_destroy(fWindow);
}

bool cProgressWindow::Show(double pShare)
{
    gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(fBar), pShare);
    while (!fCancelled && gtk_events_pending())
        gtk_main_iteration();
    return !fCancelled;
}

} // namespace SelvaneGegl
