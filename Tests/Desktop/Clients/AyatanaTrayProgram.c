/* A program with an icon in the tray as libayatana-appindicator makes it, for the desktop tests:
 *
 *     ayatana_tray_program ID FOLDER ICON
 *
 * It shows the picture ICON.png of FOLDER and a menu, and prints what happens to it, a line each. */

#include <stdio.h>

#include <gtk/gtk.h>
#include <libayatana-appindicator/app-indicator.h>

static void say(const char* what, const char* more) {
    printf("%s %s\n", what, more);
    fflush(stdout);
}

static void chosen(GtkMenuItem* entry, gpointer data) {
    (void)data;
    if (GTK_IS_CHECK_MENU_ITEM(entry)) {
        const gboolean isOn = gtk_check_menu_item_get_active(GTK_CHECK_MENU_ITEM(entry));
        say(isOn ? "checked" : "unchecked", gtk_menu_item_get_label(entry));
    } else {
        say("chosen", gtk_menu_item_get_label(entry));
    }
}

static void scrolled(AppIndicator* indicator, gint steps, GdkScrollDirection direction, gpointer data) {
    (void)indicator;
    (void)steps;
    (void)data;
    const char* words[] = {"up", "down", "left", "right"};
    say("scrolled", direction <= GDK_SCROLL_RIGHT ? words[direction] : "smoothly");
}

static GtkWidget* add(GtkWidget* menu, GtkWidget* entry) {
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), entry);
    gtk_widget_show(entry);
    return entry;
}

static GtkWidget* addChoice(GtkWidget* menu, GtkWidget* entry) {
    g_signal_connect(entry, "activate", G_CALLBACK(chosen), NULL);
    return add(menu, entry);
}

int main(int argumentCount, char** arguments) {
    gtk_init(&argumentCount, &arguments);
    if (argumentCount != 4) {
        fprintf(stderr, "usage: ayatana_tray_program ID FOLDER ICON\n");
        return 2;
    }
    /* The library asks for the bus and for the watcher at once, and stays silent for good when the watcher is
     * found before the bus. One that is connected already comes first, however busy the machine. */
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, NULL, NULL);
    GtkWidget* menu = gtk_menu_new();
    GtkWidget* open = addChoice(menu, gtk_menu_item_new_with_label("Open"));
    addChoice(menu, gtk_check_menu_item_new_with_label("Awake"));
    add(menu, gtk_separator_menu_item_new());
    GtkWidget* more = add(menu, gtk_menu_item_new_with_label("More"));
    GtkWidget* submenu = gtk_menu_new();
    addChoice(submenu, gtk_menu_item_new_with_label("Deep"));
    gtk_menu_item_set_submenu(GTK_MENU_ITEM(more), submenu);
    addChoice(menu, gtk_menu_item_new_with_label("Leave"));

    AppIndicator* indicator = app_indicator_new_with_path(
        arguments[1], arguments[3], APP_INDICATOR_CATEGORY_APPLICATION_STATUS, arguments[2]);
    app_indicator_set_status(indicator, APP_INDICATOR_STATUS_ACTIVE);
    app_indicator_set_menu(indicator, GTK_MENU(menu));
    app_indicator_set_secondary_activate_target(indicator, open);
    g_signal_connect(indicator, "scroll-event", G_CALLBACK(scrolled), NULL);
    say("shown", arguments[1]);
    gtk_main();
    g_clear_object(&bus);
    return 0;
}
