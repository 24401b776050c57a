// Panels over views. Main thread only.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/screen/list_cursor.h"
#include "cli/screen/panel.h"
#include "cli/views/list_views.h"
#include "cli/views/security_views.h"

namespace cli {

/// A view as lines that can be scrolled.
class ViewPanel : public Panel {
 public:
  ViewPanel(PanelContext& context, std::unique_ptr<View> view);

  [[nodiscard]] std::string Title() const override { return view_->Title(); }
  void Show() override { view_->Show(); }
  void Hide() override { view_->Hide(); }
  void Select(const Security& security) override { view_->Select(security); }
  void Refresh() override { view_->Refresh(); }
  [[nodiscard]] bool PollsItself() const override { return view_->PollsItself(); }
  bool OnKey(const Key& key) override;
  [[nodiscard]] std::vector<KeyHint> Keys() const override;
  [[nodiscard]] std::string Position() const override;
  [[nodiscard]] std::vector<PanelColumn> Columns() const override;
  [[nodiscard]] FeedReport Report(Clock::time_point now, stock::MarketStatus phase) const override {
    return view_->Report(now, phase);
  }
  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override;
  [[nodiscard]] View& view() const { return *view_; }

 protected:
  [[nodiscard]] PanelContext& context() const { return context_; }
  /// True when `key` turned one of the view's knobs, or orders its rows by a column.
  bool TurnKnob(const Key& key);
  /// Orders the rows by the column whose title stands at `column` of `header`, if they can be.
  bool OrderAt(const StyledLine& header, int column);
  [[nodiscard]] std::vector<KeyHint> KnobHints() const;

 private:
  /// As many columns and rows as the lines may take, before they are scrolled.
  [[nodiscard]] virtual std::vector<StyledLine> LinesFor(const ChartSize& size) const;

  PanelContext& context_;
  const std::unique_ptr<View> view_;
  std::size_t first_ = 0;  // line that is seen first
  std::size_t count_ = 0;
  std::size_t room_ = 1;
};

/// A view that draws a chart, as large as there is room.
class ChartPanel : public ViewPanel {
 public:
  using ViewPanel::ViewPanel;
  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override;
  [[nodiscard]] std::string Position() const override { return {}; }
  bool OnKey(const Key& key) override { return TurnKnob(key); }
  [[nodiscard]] std::vector<KeyHint> Keys() const override { return KnobHints(); }
};

/// Rows with a cursor; Enter selects the security in its row. Of a list that the server sends page by page as
/// many rows are asked for as there is room for.
class ListPanel : public ViewPanel {
 public:
  enum class Steps { kNo, kYes };
  /// With `steps` "next" and "previous" go through the list, and the cursor with them.
  ListPanel(PanelContext& context, std::unique_ptr<View> view, Steps steps = Steps::kNo);

  void Show() override;
  void Select(const Security& security) override;
  bool OnKey(const Key& key) override;
  [[nodiscard]] std::vector<KeyHint> Keys() const override;
  [[nodiscard]] std::string Position() const override { return cursor_.Position(); }
  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override;

  /// Another use of the row that Enter or a second click takes than to select its security.
  void OnTaken(std::function<void(const Security&)> take) { take_ = std::move(take); }
  /// That of the cursor's row; nothing while there is none.
  [[nodiscard]] std::optional<Security> AtCursor() const;

 protected:
  [[nodiscard]] const Security& current() const { return current_; }

 private:
  void OnRows();
  /// Asks for the page that the cursor is on.
  void TurnPage();
  [[nodiscard]] std::vector<BaseInfoItem> WholeList() const;

  PagedList* const paged_;  // the view; null: all rows are there at once
  const Steps steps_;
  std::function<void(const Security&)> take_;
  ListCursor cursor_;
  StyledLine header_;
  Security current_;
};

/// Panels, each of a view; hidden.
[[nodiscard]] std::unique_ptr<Panel> MakeBoardPanel(PanelContext& context);
/// The plates of a kind; Enter shows the stocks of one in their place, Backspace goes back.
[[nodiscard]] std::unique_ptr<Panel> MakePlatesPanel(PanelContext& context);
[[nodiscard]] std::unique_ptr<Panel> MakeWatchListPanel(PanelContext& context);
[[nodiscard]] std::unique_ptr<Panel> MakeMinuteLinePanel(PanelContext& context);
[[nodiscard]] std::unique_ptr<Panel> MakeKLinePanel(PanelContext& context);
/// The panel that shows `view` best.
[[nodiscard]] std::unique_ptr<Panel> PanelFor(PanelContext& context, std::unique_ptr<View> view);

}  // namespace cli
