/* A program that draws the frame of its window itself, title bar and shadow, for the desktop tests. With any
 * argument its window is maximised from the beginning. */

#include <gtk/gtk.h>

int main(int argumentCount, char** arguments) {
    gtk_init(&argumentCount, &arguments);
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWidget* bar = gtk_header_bar_new();
    gtk_header_bar_set_title(GTK_HEADER_BAR(bar), "A window");
    gtk_header_bar_set_show_close_button(GTK_HEADER_BAR(bar), TRUE);
    gtk_window_set_titlebar(GTK_WINDOW(window), bar);
    gtk_window_set_default_size(GTK_WINDOW(window), 400, 300);
    if (argumentCount > 1) {
        gtk_window_maximize(GTK_WINDOW(window));
    }
    g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), NULL);
    gtk_widget_show_all(window);
    gtk_main();
    return 0;
}
