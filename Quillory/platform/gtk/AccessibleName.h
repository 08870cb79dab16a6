#pragma once

#include <gtk/gtk.h>
#include <gtkmm/widget.h>

#include <string>

namespace quillory::gtk {

// What a screen reader says of a widget that shows no text, or none that can be read out.
inline void setAccessibleName(GtkAccessible* widget, const std::string& name)
{
    gtk_accessible_update_property(widget, GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(), -1);
}

inline void setAccessibleName(Gtk::Widget& widget, const std::string& name)
{
    setAccessibleName(GTK_ACCESSIBLE(widget.gobj()), name);
}

}
