// Identifiers of the module's resources, shared by the .rc script and the code.
#pragma once

#define IDR_TYPELIB             1
#define IDS_PROJNAME            100
#define IDR_REGISTRATION_SCRIPT 101
#define IDR_LANGUAGE_TABLE      203
#define IDB_MENU_CHECK          500
#define IDB_MENU_ICON           501
#define IDP_MENU_ICON           504
#define IDI_COMMAND_ICON        601
#define IDS_FALLBACK_CAPTION    3004
