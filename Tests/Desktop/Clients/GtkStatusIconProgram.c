/* An older program with an icon in the tray: plain red, 24 pixels wide and high. Says "activated" for a left
 * click and "menu" when its menu opens. */

#include <stdio.h>

#include <gtk/gtk.h>

enum { side = 24 };

static void activated(GtkStatusIcon* icon, gpointer unused) {
    (void)icon;
    (void)unused;
    puts("activated");
    fflush(stdout);
}

static void popUp(GtkStatusIcon* icon, guint button, guint time, gpointer menu) {
    gtk_menu_popup(GTK_MENU(menu), NULL, NULL, gtk_status_icon_position_menu, icon, button, time);
    puts("menu");
    fflush(stdout);
}

int main(int argumentCount, char** arguments) {
    gtk_init(&argumentCount, &arguments);
    GdkPixbuf* picture = gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, side, side);
    gdk_pixbuf_fill(picture, 0xFF0000FFU);
    GtkStatusIcon* icon = gtk_status_icon_new_from_pixbuf(picture);
    GtkWidget* menu = gtk_menu_new();
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), gtk_menu_item_new_with_label("An entry"));
    gtk_widget_show_all(menu);
    g_signal_connect(icon, "activate", G_CALLBACK(activated), NULL);
    g_signal_connect(icon, "popup-menu", G_CALLBACK(popUp), menu);
    gtk_main();
    return 0;
}
