// closewindow: what the user's click on the close button sends, for a test under Wine. Waits up to
// --wait seconds (default 20) for a top-level window of the class (default "ZARK_P3D") and posts WM_CLOSE.
//   closewindow [--class NAME] [--wait SECONDS]
// Exit code 0 when the message was posted, 1 when no such window appeared.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv) {
    std::string className = "ZARK_P3D";
    int waitSeconds = 20;
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string a = argv[i];
        if (a == "--class") className = argv[i + 1];
        if (a == "--wait") waitSeconds = std::atoi(argv[i + 1]);
    }
    for (int tries = 0; tries <= waitSeconds * 10; ++tries) {
        if (HWND window = FindWindowA(className.c_str(), nullptr)) {
            if (PostMessageW(window, WM_CLOSE, 0, 0)) {
                std::printf("closewindow: WM_CLOSE posted to \"%s\"\n", className.c_str());
                return 0;
            }
        }
        Sleep(100);
    }
    std::fprintf(stderr, "closewindow: no window of class \"%s\"\n", className.c_str());
    return 1;
}
