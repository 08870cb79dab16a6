#pragma once

#include <gtk/gtk.h>

#include <string>

namespace quillory::gtk {

// What a screen reader says of a widget that shows no text, or none that can be read out.
inline void setAccessibleName(GtkWidget* widget, const std::string& name)
{
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(), -1);
}

}
