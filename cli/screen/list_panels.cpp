// Panels of lists that do more than show themselves: the plates with their stocks, and the user's own list.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/screen/view_panel.h"
#include "cli/views/watch_list_edits.h"

namespace cli {
namespace {

template <class View>
std::unique_ptr<ListPanel> MakePaged(PanelContext& context) {
  return std::make_unique<ListPanel>(context, std::make_unique<View>(context.views, ListBy(kPlateColumns)),
                                     ListPanel::Steps::kYes);
}

// The list of plates, or in its place the stocks of one of them.
class PlatesPanel final : public Panel {
 public:
  explicit PlatesPanel(PanelContext& context)
      : context_(context),
        plates_(MakePaged<PlatesView>(context)),
        members_(MakePaged<MembersView>(context)) {
    plates_->OnTaken([this](const Security& plate) {
      // The plate is the current security from now on, and so the one whose stocks are shown.
      context_.select(plate);
      members_->Select(plate);
      Enter(true);
    });
  }

  [[nodiscard]] std::string Title() const override { return seen().Title(); }
  void Show() override {
    shown_ = true;
    seen().Show();
  }
  void Hide() override {
    shown_ = false;
    plates_->Hide();
    members_->Hide();
  }
  void Select(const Security& security) override {
    plates_->Select(security);
    members_->Select(security);
  }
  void Refresh() override { seen().Refresh(); }
  [[nodiscard]] bool PollsItself() const override { return true; }
  [[nodiscard]] std::string Position() const override { return seen().Position(); }
  [[nodiscard]] std::vector<PanelColumn> Columns() const override { return seen().Columns(); }

  bool OnKey(const Key& key) override {
    if (is_inside_ && (key.kind == KeyKind::kBackspace || key.kind == KeyKind::kEscape)) {
      Enter(false);
      return true;
    }
    return seen().OnKey(key);
  }
  [[nodiscard]] std::vector<KeyHint> Keys() const override {
    std::vector<KeyHint> hints = seen().Keys();
    if (is_inside_) {
      hints.push_back({"Backspace", "back to the plates"});
    } else {
      hints[1] = {"Enter", "its stocks"};
    }
    return hints;
  }
  [[nodiscard]] FeedReport Report(Clock::time_point now, stock::MarketStatus phase) const override {
    return seen().Report(now, phase);
  }
  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override {
    return seen().Picture(size);
  }

 private:
  [[nodiscard]] ListPanel& seen() const { return is_inside_ ? *members_ : *plates_; }

  void Enter(bool inside) {
    seen().Hide();
    is_inside_ = inside;
    if (shown_) {
      seen().Show();
    }
    context_.views.changed();
  }

  PanelContext& context_;
  const std::unique_ptr<ListPanel> plates_;
  const std::unique_ptr<ListPanel> members_;
  bool is_inside_ = false;
  bool shown_ = false;
};

class WatchListPanel final : public ListPanel {
 public:
  using ListPanel::ListPanel;

  bool OnKey(const Key& key) override {
    if (key.kind == KeyKind::kDelete) {
      if (const auto security = AtCursor()) {
        context().tell(edits_.Remove(*security));
      }
    } else if (key == Typed(U'+')) {
      context().tell(edits_.Add(current()));
    } else if (key == Typed(U'-')) {
      context().tell(edits_.Remove(current()));
    } else if (key == Typed(U'u')) {
      context().tell(edits_.Undo());
    } else {
      return ListPanel::OnKey(key);
    }
    context().views.changed();
    return true;
  }

  [[nodiscard]] std::vector<KeyHint> Keys() const override {
    std::vector<KeyHint> hints = ListPanel::Keys();
    hints.push_back({"+ -", "put in or take out the current one"});
    hints.push_back({"Del", "take out the row"});
    hints.push_back({"u", "undo that"});
    return hints;
  }

 private:
  WatchListEdits edits_{"u"};
};

}  // namespace

std::unique_ptr<Panel> MakePlatesPanel(PanelContext& context) {
  return std::make_unique<PlatesPanel>(context);
}

std::unique_ptr<Panel> MakeWatchListPanel(PanelContext& context) {
  return PanelFor(context, std::make_unique<WatchListView>(context.views, ListBy(kWatchListColumns, 0)));
}

std::unique_ptr<Panel> PanelFor(PanelContext& context, std::unique_ptr<View> view) {
  if (dynamic_cast<QuoteView*>(view.get()) != nullptr) {
    return std::make_unique<ViewPanel>(context, std::move(view));
  }
  if (dynamic_cast<WatchListView*>(view.get()) != nullptr) {
    return std::make_unique<WatchListPanel>(context, std::move(view), ListPanel::Steps::kYes);
  }
  return std::make_unique<ListPanel>(context, std::move(view), ListPanel::Steps::kYes);
}

}  // namespace cli
