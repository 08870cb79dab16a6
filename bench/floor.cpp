// What the program costs is measured against this one: the same jobs on the web engine alone, each done
// in the most direct way and with no care for what could go wrong.
//
//     floor PAGE [FILE]
//
// shows the page, which posts the messages that it would post to Quillory. FILE is what a panel would
// have given: an export is written to it and a file is read from it; without one, messages only arrive.
#include <webkit/webkit.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

WebKitWebView* view = nullptr;
std::string file;

void print(const std::string& line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

std::string property(JSCValue* object, const char* name)
{
    JSCValue* value = jsc_value_object_get_property(object, name);
    char* text = jsc_value_to_string(value);
    std::string result = text;
    g_free(text);
    g_object_unref(value);
    return result;
}

void save(JSCValue* object, const std::string& path)
{
    JSCValue* value = jsc_value_object_get_property(object, "data");
    char* text = jsc_value_to_string(value);
    g_object_unref(value);
    const char* comma = std::strchr(text, ',');
    if (comma == nullptr) {
        g_free(text);
        return print("❌ Failed to decode data URL");
    }
    gsize size = 0;
    guchar* bytes = g_base64_decode(comma + 1, &size);
    g_free(text);
    FILE* target = std::fopen(path.c_str(), "w");
    std::fwrite(bytes, 1, size, target);
    std::fclose(target);
    g_free(bytes);
}

void download(WebKitUserContentManager*, JSCValue* body, gpointer)
{
    if (!jsc_value_is_object(body))
        return print("❌ Invalid download message");
    const auto name = property(body, "filename");
    print("📥 Native download requested: " + name);
    if (file.empty() && !name.starts_with("T"))
        return;
    save(body, file);
    if (!name.starts_with("T"))
        print("✅ File saved to: " + file);
}

void batch(WebKitUserContentManager*, JSCValue* body, gpointer)
{
    JSCValue* files = jsc_value_object_get_property(body, "files");
    JSCValue* length = jsc_value_object_get_property(files, "length");
    const int count = jsc_value_to_int32(length);
    print("📥 Batch download requested: " + std::to_string(count) + " files");
    for (int i = 0; !file.empty() && i < count; ++i) {
        JSCValue* entry = jsc_value_object_get_property_at_index(files, static_cast<guint>(i));
        save(entry, file + "/" + property(entry, "filename"));
        g_object_unref(entry);
    }
    print("✅ Saved " + std::to_string(count) + "/" + std::to_string(count) + " files to: " + file);
    g_object_unref(length);
    g_object_unref(files);
}

void call(const char* prefix, const char* text, gsize size)
{
    std::string script = prefix;
    for (gsize i = 0; i < size; ++i) {
        switch (text[i]) {
        case '\\':
        case '\'':
            script += '\\';
            script += text[i];
            break;
        case '\n':
            script += "\\n";
            break;
        case '\r':
            script += "\\r";
            break;
        default:
            script += text[i];
        }
    }
    script += "');";
    webkit_web_view_evaluate_javascript(view, script.data(), static_cast<gssize>(script.size()), nullptr, nullptr,
                                        nullptr, nullptr, nullptr);
}

void openFile(WebKitUserContentManager*, JSCValue*, gpointer)
{
    print("opening " + std::to_string(g_get_real_time()));
    char* content = nullptr;
    gsize size = 0;
    if (g_file_get_contents(file.c_str(), &content, &size, nullptr))
        call("window.handleNativeFileContent('", content, size);
    g_free(content);
}

void openImage(WebKitUserContentManager*, JSCValue*, gpointer)
{
    print("opening " + std::to_string(g_get_real_time()));
    char* content = nullptr;
    gsize size = 0;
    if (!g_file_get_contents(file.c_str(), &content, &size, nullptr))
        return;
    char* base64 = g_base64_encode(reinterpret_cast<const guchar*>(content), size);
    g_free(content);
    char* script = g_strconcat("window.handleNativeImageContent('data:image/png;base64,", base64, "');", nullptr);
    g_free(base64);
    webkit_web_view_evaluate_javascript(view, script, -1, nullptr, nullptr, nullptr, nullptr, nullptr);
    g_free(script);
}

void handle(WebKitUserContentManager* manager, const char* name,
            void (*handler)(WebKitUserContentManager*, JSCValue*, gpointer))
{
    const auto signal = std::string("script-message-received::") + name;
    g_signal_connect(manager, signal.c_str(), G_CALLBACK(handler), nullptr);
    webkit_user_content_manager_register_script_message_handler(manager, name, nullptr);
}

}

int main(int count, char** arguments)
{
    if (count < 2)
        return 2;
    if (count > 2)
        file = arguments[2];
    gtk_init();
    WebKitUserContentManager* manager = webkit_user_content_manager_new();
    handle(manager, "nativeDownload", download);
    handle(manager, "nativeBatchDownload", batch);
    handle(manager, "nativeFilePicker", openFile);
    handle(manager, "nativeImagePicker", openImage);
    view = WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager", manager, nullptr));
    webkit_settings_set_allow_file_access_from_file_urls(webkit_web_view_get_settings(view), TRUE);
    GtkWidget* window = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(window), "Quillory");
    gtk_window_set_default_size(GTK_WINDOW(window), 1152, 922);
    gtk_window_set_hide_on_close(GTK_WINDOW(window), TRUE);
    gtk_window_set_child(GTK_WINDOW(window), GTK_WIDGET(view));
    char* uri = g_filename_to_uri(arguments[1], nullptr, nullptr);
    webkit_web_view_load_uri(view, uri);
    g_free(uri);
    gtk_window_present(GTK_WINDOW(window));
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
