/* Asks a top-level window to close as its close box does (WM_DELETE_WINDOW). */
#include <X11/Xlib.h>
#include <stdio.h>
#include <stdlib.h>

int main(int argc, char** argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: xclose WINDOW-ID\n");
        return 2;
    }
    Display* d = XOpenDisplay(NULL);
    if (!d) {
        fprintf(stderr, "xclose: no display\n");
        return 1;
    }
    Window w = (Window)strtoul(argv[1], NULL, 0);
    XEvent e = {0};
    e.xclient.type = ClientMessage;
    e.xclient.window = w;
    e.xclient.message_type = XInternAtom(d, "WM_PROTOCOLS", False);
    e.xclient.format = 32;
    e.xclient.data.l[0] = (long)XInternAtom(d, "WM_DELETE_WINDOW", False);
    e.xclient.data.l[1] = CurrentTime;
    XSendEvent(d, w, False, NoEventMask, &e);
    XSync(d, False);
    XCloseDisplay(d);
    return 0;
}
