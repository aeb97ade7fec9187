/* Asks a top-level window to close as its close box does (WM_DELETE_WINDOW). */
#include <X11/Xlib.h>
#include <stdio.h>
#include <stdlib.h>

int main(int argc, char** argv) {
    Display* d = argc == 2 ? XOpenDisplay(NULL) : NULL;
    if (!d) {
        fprintf(stderr, "usage: xclose WINDOW-ID (on a display)\n");
        return 2;
    }
    Window w = (Window)strtoul(argv[1], NULL, 0);
    XEvent e = {.xclient = {.type = ClientMessage, .window = w, .format = 32}};
    e.xclient.message_type = XInternAtom(d, "WM_PROTOCOLS", False);
    e.xclient.data.l[0] = (long)XInternAtom(d, "WM_DELETE_WINDOW", False);
    XSendEvent(d, w, False, NoEventMask, &e);
    XCloseDisplay(d); /* sends it */
    return 0;
}
