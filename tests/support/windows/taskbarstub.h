// A base for taskbar objects of the tests: every operation of the interface that the program does not use
// does nothing. Derive from it and give SetProgressValue and SetProgressState a body.
#pragma once

#include "platform/platform.h"

// Not counted: it lives as long as its creator keeps it.
struct TaskbarStub : ITaskbarList3
{
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override
    {
        return 1;
    }
    ULONG STDMETHODCALLTYPE Release() override
    {
        return 1;
    }

    // clang-format off
    HRESULT STDMETHODCALLTYPE HrInit() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE AddTab(HWND) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE DeleteTab(HWND) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ActivateTab(HWND) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetActiveAlt(HWND) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE MarkFullscreenWindow(HWND, BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE RegisterTab(HWND, HWND) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE UnregisterTab(HWND) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetTabOrder(HWND, HWND) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetTabActive(HWND, HWND, DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ThumbBarAddButtons(HWND, UINT, LPTHUMBBUTTON) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ThumbBarUpdateButtons(HWND, UINT, LPTHUMBBUTTON) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE ThumbBarSetImageList(HWND, HIMAGELIST) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetOverlayIcon(HWND, HICON, LPCWSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetThumbnailTooltip(HWND, LPCWSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE SetThumbnailClip(HWND, RECT*) override { return S_OK; }
    // clang-format on
};
