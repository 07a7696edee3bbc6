#include "ui/win32/text_object_model.h"

#include <ole2.h>
#include <richedit.h>
#include <richole.h>
#include <tom.h>

#include "ui/win32/com.h"

namespace hvt {
namespace {

// IID_ITextDocument of the text object model; the import libraries do not carry it.
constexpr GUID kTextDocumentId{0x8CC497C0, 0xA1DF, 0x11CE, {0x80, 0x98, 0x00, 0xAA, 0x00, 0x47, 0xBE, 0x5D}};

ComPointer<ITextDocument> document_of(HWND rich_edit) {
  IRichEditOle* raw_ole = nullptr;
  SendMessageW(rich_edit, EM_GETOLEINTERFACE, 0, reinterpret_cast<LPARAM>(&raw_ole));
  const ComPointer<IRichEditOle> ole{raw_ole};
  if (!ole) return {};
  void* raw_document = nullptr;
  if (FAILED(ole->QueryInterface(kTextDocumentId, &raw_document))) return {};
  return ComPointer<ITextDocument>{static_cast<ITextDocument*>(raw_document)};
}

ComPointer<ITextSelection> selection_of(HWND rich_edit) {
  const ComPointer<ITextDocument> document = document_of(rich_edit);
  ITextSelection* selection = nullptr;
  if (!document || FAILED(document->GetSelection(&selection))) return {};
  return ComPointer<ITextSelection>{selection};
}

}  // namespace

void suspend_undo(HWND rich_edit) {
  SendMessageW(rich_edit, EM_SETUNDOLIMIT, 0, 0);
  if (const ComPointer<ITextDocument> document = document_of(rich_edit)) document->Undo(tomSuspend, nullptr);
  SendMessageW(rich_edit, EM_EMPTYUNDOBUFFER, 0, 0);
}

bool selection_start_is_active(HWND rich_edit) {
  const ComPointer<ITextSelection> selection = selection_of(rich_edit);
  LONG flags = 0;
  return selection && SUCCEEDED(selection->GetFlags(&flags)) && (flags & tomSelStartActive) != 0;
}

void activate_selection_start(HWND rich_edit) {
  const ComPointer<ITextSelection> selection = selection_of(rich_edit);
  LONG flags = 0;
  if (selection && SUCCEEDED(selection->GetFlags(&flags))) selection->SetFlags(flags | tomSelStartActive);
}

}  // namespace hvt
