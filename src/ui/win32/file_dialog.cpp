#include "ui/win32/file_dialog.h"

#include <shobjidl.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "ui/win32/com.h"

namespace hvt {
namespace {

void require(HRESULT result) {
  if (FAILED(result)) throw std::runtime_error("Could not open the file dialog.");
}

ComPointer<IFileDialog> create_dialog(bool save) {
  void* dialog = nullptr;
  require(CoCreateInstance(save ? CLSID_FileSaveDialog : CLSID_FileOpenDialog, nullptr, CLSCTX_INPROC_SERVER,
                           IID_IFileDialog, &dialog));
  return ComPointer<IFileDialog>(static_cast<IFileDialog*>(dialog));
}

void set_options(IFileDialog& dialog, bool save) {
  FILEOPENDIALOGOPTIONS options = 0;
  require(dialog.GetOptions(&options));
  options |= FOS_NOCHANGEDIR | FOS_FORCEFILESYSTEM | FOS_PATHMUSTEXIST;
  require(dialog.SetOptions(options | (save ? FOS_OVERWRITEPROMPT : FOS_FILEMUSTEXIST)));
}

void set_types(IFileDialog& dialog, const std::vector<FileQuestion::Type>& types) {
  std::vector<COMDLG_FILTERSPEC> rows;
  for (const FileQuestion::Type& type : types)
    rows.push_back({type.name.c_str(), type.pattern.c_str()});
  require(dialog.SetFileTypes(static_cast<UINT>(rows.size()), rows.data()));
  require(dialog.SetFileTypeIndex(1));
}

void set_folder(IFileDialog& dialog, const std::filesystem::path& folder) {
  void* item = nullptr;
  require(SHCreateItemFromParsingName(folder.c_str(), nullptr, IID_IShellItem, &item));
  const ComPointer<IShellItem> place(static_cast<IShellItem*>(item));
  require(dialog.SetDefaultFolder(place.get()));
  require(dialog.SetFolder(place.get()));
}

std::filesystem::path chosen_path(IFileDialog& dialog) {
  IShellItem* item = nullptr;
  require(dialog.GetResult(&item));
  const ComPointer<IShellItem> chosen(item);
  PWSTR name = nullptr;
  require(chosen->GetDisplayName(SIGDN_FILESYSPATH, &name));
  const std::unique_ptr<wchar_t, decltype(&CoTaskMemFree)> owner(name, CoTaskMemFree);
  return name;
}

}  // namespace

std::optional<std::filesystem::path> show_send_data_file_dialog(HWND owner, const FileQuestion& question) {
  const ComApartment apartment;
  require(apartment.result());
  const auto dialog = create_dialog(question.save);
  set_options(*dialog, question.save);
  set_types(*dialog, question.types);
  require(dialog->SetTitle(question.title.c_str()));
  if (question.save) {
    require(dialog->SetDefaultExtension(question.extension.c_str()));
    require(dialog->SetFileName(question.proposed_name.c_str()));
  }
  set_folder(*dialog, question.folder);
  const HRESULT shown = dialog->Show(owner);
  if (shown == HRESULT_FROM_WIN32(ERROR_CANCELLED)) return std::nullopt;
  require(shown);
  return chosen_path(*dialog);
}

}  // namespace hvt
