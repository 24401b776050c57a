#include "desktop/finder.h"

#include "desktop/words.h"

namespace desktop {
namespace {

constexpr std::size_t kMostMatches = 50;
constexpr QSize kSize(340, 320);
constexpr int kEdge = 12;

}  // namespace

Finder::Finder(Desk& desk, QWidget* window)
    : QFrame(window), desk_(desk), line_(new QLineEdit), list_(new QListWidget), reason_(new QLabel) {
  setFrameShape(QFrame::StyledPanel);
  setAutoFillBackground(true);
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(6, 6, 6, 6);
  layout->addWidget(line_);
  layout->addWidget(list_);
  layout->addWidget(reason_);
  reason_->setWordWrap(true);
  reason_->setTextFormat(Qt::PlainText);
  line_->setMaxLength(32);
  line_->setPlaceholderText(Word("code, name or pinyin initials", "代码、名称或拼音首字母"));
  list_->setFocusPolicy(Qt::NoFocus);
  line_->installEventFilter(this);
  connect(line_, &QLineEdit::textChanged, this, &Finder::Look);
  connect(line_, &QLineEdit::returnPressed, this, &Finder::Choose);
  connect(list_, &QListWidget::itemClicked, this, &Finder::Choose);
  hide();
}

void Finder::Open(const QString& text) {
  resize(kSize);
  move(parentWidget()->width() - width() - kEdge, parentWidget()->height() - height() - 3 * kEdge);
  line_->setText(text);
  Look();
  show();
  raise();
  line_->setFocus();
  line_->end(false);
}

void Finder::Look() {
  list_->clear();
  matches_.clear();
  if (desk_.lists() == nullptr) {
    reason_->setText(desk_.why_no_lists());
    return;
  }
  for (const cli::Match& match : desk_.lists()->Find(line_->text().toStdWString(), kMostMatches)) {
    matches_.push_back(cli::SecurityOf(match.item->code, match.item->name));
    list_->addItem(Shown(match.item->code) + QStringLiteral("   ") + Shown(match.item->name));
  }
  list_->setCurrentRow(0);
  reason_->setText(matches_.empty() && !line_->text().isEmpty()
                       ? Word("nothing is called that", "没有匹配的证券")
                       : Word("Enter selects, Escape closes", "回车选定，Esc 关闭"));
}

void Finder::Choose() {
  if (list_->currentRow() >= 0) {
    desk_.Select(matches_[static_cast<std::size_t>(list_->currentRow())]);
    hide();
  }
}

bool Finder::eventFilter(QObject* watched, QEvent* event) {
  const int key = event->type() == QEvent::KeyPress ? static_cast<QKeyEvent&>(*event).key() : 0;
  if (key == Qt::Key_Up || key == Qt::Key_Down) {
    return QCoreApplication::sendEvent(list_, event);
  }
  if (key == Qt::Key_Escape || event->type() == QEvent::FocusOut) {
    hide();
  }
  return key == Qt::Key_Escape || QFrame::eventFilter(watched, event);
}

}  // namespace desktop
