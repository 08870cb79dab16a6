#include "QuilloryApp/QuilloryApp.h"
#include "platform/gtk/GtkPlatform.h"

int main()
{
    quillory::gtk::GtkPlatform platform;
    return quillory::QuilloryApp::main(platform);
}
