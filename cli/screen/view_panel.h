// Panels over views. Main thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
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
  [[nodiscard]] std::vector<std::string> ColumnNames() const override { return view_->ColumnNames(); }
  [[nodiscard]] FeedReport Report(Clock::time_point now, stock::MarketStatus phase) const override {
    return view_->Report(now, phase);
  }
  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override;

 protected:
  [[nodiscard]] PanelContext& context() const { return context_; }
  [[nodiscard]] View& view() const { return *view_; }
  /// True when `key` turned one of the view's knobs.
  bool TurnKnob(const Key& key);
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

/// Rows with a cursor; Enter selects the security in its row.
class ListPanel : public ViewPanel {
 public:
  enum class Steps { kNo, kYes };
  /// With `steps` "next" and "previous" go through the list.
  ListPanel(PanelContext& context, std::unique_ptr<View> view, Steps steps = Steps::kNo);

  void Show() override;
  void Select(const Security& security) override;
  bool OnKey(const Key& key) override;
  [[nodiscard]] std::vector<KeyHint> Keys() const override;
  [[nodiscard]] std::string Position() const override { return cursor_.Position(); }
  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override;

 protected:
  /// That of the cursor's row; nothing while there is none.
  [[nodiscard]] std::optional<Security> AtCursor() const;
  [[nodiscard]] const Security& current() const { return current_; }

 private:
  void OnRows();

  const Steps steps_;
  ListCursor cursor_;
  Security current_;
};

/// A list that the server sends page by page, as many rows as there is room for.
class PagedPanel : public ViewPanel {
 public:
  /// `view` and `list` are one object.
  PagedPanel(PanelContext& context, std::unique_ptr<View> view, PagedList& list);

  void Show() override;
  void Select(const Security& security) override;
  bool OnKey(const Key& key) override;
  [[nodiscard]] std::vector<KeyHint> Keys() const override;
  [[nodiscard]] std::string Position() const override;
  [[nodiscard]] std::vector<StyledLine> Picture(const ChartSize& size) override;

  /// That of the cursor's row; nothing while the rows around it are still to come.
  [[nodiscard]] std::optional<Security> AtCursor() const;

 private:
  void OnRows();
  [[nodiscard]] std::uint32_t Last() const;
  bool MoveTo(std::uint32_t row);
  void TurnTo(std::uint32_t start);

  PagedList& list_;
  std::vector<Security> rows_;
  std::uint32_t first_ = 0;  // number of the first of `rows_`
  std::uint32_t room_ = 30;  // before it is known how many rows there is room for
  std::uint32_t start_ = 0;  // first row that is asked for
  std::uint32_t cursor_ = 0;
  bool moved_ = false;
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
