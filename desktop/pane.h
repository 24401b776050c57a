// A piece of a window that shows views: tools on top, what is shown in the middle, and below it how the
// figures are. As long as nobody can see it its views are suspended. Main thread only.
#pragma once

#include <QtWidgets/QtWidgets>
#include <memory>
#include <vector>

#include "cli/views/feed_health.h"
#include "desktop/desk.h"
#include "desktop/words.h"

namespace desktop {

class Pane : public QWidget {
 public:
  /// `id` names what the pane remembers: "board/list".
  Pane(Desk& desk, QString id);
  ~Pane() override { desk_.Unregister(*this); }

  [[nodiscard]] const QString& id() const { return id_; }
  /// What is shown at present: "minute line of sh600000 浦发银行".
  [[nodiscard]] QString Title() const { return Text(view().Title()); }
  /// False while another one is in front of it.
  void SetOnStage(bool on_stage) {
    on_stage_ = on_stage;
    UpdateSeen();
  }
  [[nodiscard]] bool seen() const { return seen_; }
  void UpdateSeen();
  /// Shows `security` from now on, whatever is selected elsewhere.
  void Pin(const cli::Security& security);
  [[nodiscard]] const cli::Security& pinned() const { return pinned_; }
  /// Asks for what is in sight; `at_interval`: what does not ask by itself.
  void Refresh(bool at_interval);
  /// How the figures are at this moment.
  void ShowState();
  [[nodiscard]] QString State() const { return state_->accessibleName(); }
  [[nodiscard]] cli::FeedReport Report() const { return ReportOf(view()); }
  /// True when every view in sight has its figures or says why not.
  [[nodiscard]] virtual bool IsSettled() const;
  /// Keeps what the user has arranged.
  virtual void Save() {}

 protected:
  /// The first view is the one whose state is shown.
  template <class View>
  View& Add(std::unique_ptr<View> view) {
    View& added = *view;
    views_.push_back(std::move(view));
    Follow(added);
    return added;
  }
  [[nodiscard]] Desk& desk() const { return desk_; }
  [[nodiscard]] cli::View& view() const { return *views_.front(); }
  /// A line of tools.
  QHBoxLayout& AddTools();
  void SetBody(QWidget* body);
  /// For what is small and says by itself how it is: there are tools only.
  void HideBody() {
    stack_->hide();
    state_->hide();
  }
  /// A box that turns a knob of the first view.
  void AddKnob(cli::Knob knob);

  /// Something has arrived, or the colours are others: the body shows what the views have.
  virtual void Draw() = 0;
  /// The security is another one.
  virtual void OnSecurity(const cli::Security& security);
  /// A knob was turned: what is shown is no longer what is asked for.
  virtual void OnTurned() {}
  /// False: there is nothing that `Draw` could show.
  [[nodiscard]] virtual bool HasPicture() const { return view().has_data() && view().WhyEmpty().empty(); }
  [[nodiscard]] virtual QString Note() const { return Text(view().Note()); }

 private:
  [[nodiscard]] static cli::FeedReport ReportOf(const cli::View& view) {
    return view.Report(cli::View::Clock::now(), cli::CurrentPhase());
  }
  void Follow(cli::View& view);
  void DrawAndSay();
  bool event(QEvent* event) override;

  Desk& desk_;
  const QString id_;
  std::vector<std::unique_ptr<cli::View>> views_;
  cli::Security pinned_;
  bool on_stage_ = true;
  bool seen_ = false;
  QHBoxLayout* tools_ = nullptr;
  QStackedWidget* stack_;
  QLabel* reason_;
  QLabel* state_;
  QLabel* note_;
};

}  // namespace desktop
