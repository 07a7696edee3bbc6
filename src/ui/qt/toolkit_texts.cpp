#include "ui/qt/toolkit_texts.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <string_view>

namespace hvt {
namespace {

struct ToolkitText {
  std::string_view context;
  std::string_view english;
  std::u16string_view korean;
};

constexpr ToolkitText kKorean[]{
    {"QPlatformTheme", "OK", u"확인"},
    {"QPlatformTheme", "Save", u"저장"},
    {"QPlatformTheme", "Open", u"열기"},
    {"QPlatformTheme", "Cancel", u"취소"},
    {"QPlatformTheme", "Close", u"닫기"},
    {"QPlatformTheme", "&Yes", u"예(&Y)"},
    {"QPlatformTheme", "&No", u"아니요(&N)"},

    {"QLineEdit", "&Undo", u"실행 취소(&U)"},
    {"QLineEdit", "&Redo", u"다시 실행(&R)"},
    {"QLineEdit", "Cu&t", u"잘라내기(&T)"},
    {"QLineEdit", "&Copy", u"복사(&C)"},
    {"QLineEdit", "&Paste", u"붙여넣기(&P)"},
    {"QLineEdit", "Delete", u"삭제"},
    {"QLineEdit", "Select All", u"모두 선택"},
    {"QWidgetTextControl", "&Copy", u"복사(&C)"},
    {"QWidgetTextControl", "Select All", u"모두 선택"},

    {"QScrollBar", "Scroll here", u"여기로 스크롤"},
    {"QScrollBar", "Top", u"맨 위"},
    {"QScrollBar", "Bottom", u"맨 아래"},
    {"QScrollBar", "Page up", u"한 페이지 위로"},
    {"QScrollBar", "Page down", u"한 페이지 아래로"},
    {"QScrollBar", "Scroll up", u"위로 스크롤"},
    {"QScrollBar", "Scroll down", u"아래로 스크롤"},
    {"QScrollBar", "Left edge", u"왼쪽 끝"},
    {"QScrollBar", "Right edge", u"오른쪽 끝"},
    {"QScrollBar", "Page left", u"한 페이지 왼쪽으로"},
    {"QScrollBar", "Page right", u"한 페이지 오른쪽으로"},
    {"QScrollBar", "Scroll left", u"왼쪽으로 스크롤"},
    {"QScrollBar", "Scroll right", u"오른쪽으로 스크롤"},

    {"QFileDialog", "Look in:", u"찾는 위치:"},
    {"QFileDialog", "Save in:", u"저장 위치:"},
    {"QFileDialog", "Back", u"뒤로"},
    {"QFileDialog", "Go back", u"뒤로 가기"},
    {"QFileDialog", "Forward", u"앞으로"},
    {"QFileDialog", "Go forward", u"앞으로 가기"},
    {"QFileDialog", "Parent Directory", u"상위 폴더"},
    {"QFileDialog", "Go to the parent directory", u"상위 폴더로 가기"},
    {"QFileDialog", "Create New Folder", u"새 폴더 만들기"},
    {"QFileDialog", "Create a New Folder", u"새 폴더 만들기"},
    {"QFileDialog", "&New Folder", u"새 폴더(&N)"},
    {"QFileDialog", "New Folder", u"새 폴더"},
    {"QFileDialog", "List View", u"목록 보기"},
    {"QFileDialog", "Change to list view mode", u"목록으로 보기"},
    {"QFileDialog", "Detail View", u"자세히 보기"},
    {"QFileDialog", "Change to detail view mode", u"자세히 보기"},
    {"QFileDialog", "Sidebar", u"사이드바"},
    {"QFileDialog", "List of places and bookmarks", u"위치와 책갈피 목록"},
    {"QFileDialog", "Files", u"파일"},
    {"QFileDialog", "Directory:", u"폴더:"},
    {"QFileDialog", "File &name:", u"파일 이름(&N):"},
    {"QFileDialog", "Files of type:", u"파일 형식:"},
    {"QFileDialog", "&Open", u"열기(&O)"},
    {"QFileDialog", "&Save", u"저장(&S)"},
    {"QFileDialog", "&Rename", u"이름 바꾸기(&R)"},
    {"QFileDialog", "&Delete", u"삭제(&D)"},
    {"QFileDialog", "Show &hidden files", u"숨긴 파일 보기(&H)"},
    {"QFileDialog", "Remove", u"제거"},
    {"QFileDialog", "My Computer", u"내 컴퓨터"},
    {"QFileDialog", "Drive", u"드라이브"},
    {"QFileDialog", "Recent Places", u"최근 위치"},
    {"QFileDialog", "%1 already exists.\nDo you want to replace it?",
     u"%1 파일이 이미 있습니다.\n바꾸시겠습니까?"},
    {"QFileDialog", "%1\nFile not found.\nPlease verify the correct file name was given.",
     u"%1\n파일을 찾을 수 없습니다.\n파일 이름이 맞는지 확인하세요."},
    {"QFileDialog", "%1\nDirectory not found.\nPlease verify the correct directory name was given.",
     u"%1\n폴더를 찾을 수 없습니다.\n폴더 이름이 맞는지 확인하세요."},
    {"QFileDialog", "'%1' is write protected.\nDo you want to delete it anyway?",
     u"'%1'은(는) 쓰기 금지되어 있습니다.\n그래도 삭제하시겠습니까?"},
    {"QFileDialog", "Are you sure you want to delete '%1'?", u"'%1'을(를) 삭제하시겠습니까?"},
    {"QFileDialog", "Could not delete directory.", u"폴더를 삭제할 수 없습니다."},
    {"QFileSystemModel", "Name", u"이름"},
    {"QFileSystemModel", "Size", u"크기"},
    {"QFileSystemModel", "Type", u"종류"},
    {"QFileSystemModel", "Date Modified", u"수정한 날짜"},
    {"QFileSystemModel", "Computer", u"컴퓨터"},
    {"QFileSystemModel", "My Computer", u"내 컴퓨터"},
    {"QAbstractFileIconProvider", "File Folder", u"폴더"},
    {"QAbstractFileIconProvider", "Folder", u"폴더"},
    {"QAbstractFileIconProvider", "File", u"파일"},
    {"QAbstractFileIconProvider", "%1 File", u"%1 파일"},
};

}  // namespace

QString ToolkitTexts::KoreanTable::translate(const char* context, const char* english, const char*,
                                             int) const {
  if (context == nullptr || english == nullptr) return {};
  for (const ToolkitText& text : kKorean) {
    if (text.context == context && text.english == english)
      return QString::fromUtf16(text.korean.data(), static_cast<qsizetype>(text.korean.size()));
  }
  return {};
}

// A translator that goes takes itself away from the application.
void ToolkitTexts::set_language(Language language) {
  if (language == language_) return;
  language_ = language;
  if (language == Language::english) {
    QCoreApplication::removeTranslator(&catalogue_);
    QCoreApplication::removeTranslator(&korean_);
    return;
  }
  QCoreApplication::installTranslator(&korean_);
  const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
  if (!catalogue_.isEmpty() || catalogue_.load(QStringLiteral("qtbase_ko"), folder))
    QCoreApplication::installTranslator(&catalogue_);
}

}  // namespace hvt
