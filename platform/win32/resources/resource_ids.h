// platform/win32/resources/resource_ids.h — the resource numbers shared by zark_p3d.rc and the window code.
#pragma once

#define IDI_ZARK_P3D 100   // the program's icon, both sizes of the window class
#define IDS_APP_TITLE 101  // the title and the window class name: "ZARK_P3D"
