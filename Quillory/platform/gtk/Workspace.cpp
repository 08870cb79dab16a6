#include "platform/gtk/Workspace.h"

#include <giomm/appinfo.h>

namespace quillory::gtk {

void Workspace::openURL(const std::string& url)
{
    Gio::AppInfo::launch_default_for_uri_async(url);
}

}
