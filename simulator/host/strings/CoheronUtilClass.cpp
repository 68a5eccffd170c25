#include "uistrings/CoheronUtilClass.h"

std::wstring CoheronUtilClass::GetPopWndResPath()
{
    return LR"(C:\Host\PopWnd\)";
}
