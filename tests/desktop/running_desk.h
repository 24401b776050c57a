// The whole viewer in this process, without a display, over a simulated market whose server and clock are in
// the test's hands, and the same market once more to compare with.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <QtCore/QElapsedTimer>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>
#include <QtWidgets/QStatusBar>
#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/temporary_directory.h"
#include "cli/views/feed_health.h"
#include "desktop/list_pane.h"
#include "desktop/main_window.h"
#include "desktop/words.h"
#include "host/text.h"
#include "host_services/stock_host.h"
#include "market_server/market_server.h"
#include "market_server/model/market.h"

class RunningDesk : public testing::Test {
 protected:
  static constexpr const char* kAfternoon = "2024-03-15 14:30:00";

  RunningDesk() {
    server_options_.stocks = 300;
    server_options_.speed = 0;
    server_options_.keys = {{"tester", "a secret of the test"}};
    // The clock may be put further than a signature may be old.
    server_options_.check_signatures = false;
    setenv("CSM_KEY_ID", "tester", 1);
    setenv("CSM_KEY", "a secret of the test", 1);
    setenv("CSM_DATA_DIRECTORY", (directory_.path() + "/data").c_str(), 1);
    setenv("CSM_LOG_DIRECTORY", (directory_.path() + "/log").c_str(), 1);
    setenv("CSM_CONFIG_DIRECTORY", (directory_.path() + "/config").c_str(), 1);
    options_.interval = 0.3;
    options_.size = {1400, 900};
  }
  ~RunningDesk() override {
    window_.reset();
    desk_.reset();
  }

  // Whatever happens is said in the window: no dialog stands in anybody's way.
  void TearDown() override {
    for (const QWidget* const one : QApplication::topLevelWidgets()) {
      EXPECT_EQ(qobject_cast<const QDialog*>(one), nullptr) << one->windowTitle().toStdString();
    }
  }

  void StartServer(const std::string& clock) {
    server_options_.clock = clock;
    server_ = std::make_unique<market_server::Server>(server_options_);
    server_->Start();
    server_options_.port = server_->port();  // the next one takes its place
    options_.session.server = server_->url();
    market_server::model::Options market{.seed = server_options_.seed, .stocks = server_options_.stocks};
    if (!server_options_.scenario.empty()) {
      market.scenario = market_server::model::ScenarioNamed(server_options_.scenario).value();
      market.scenario_date = market_server::model::SessionDate(Now());
    }
    market_ = std::make_unique<market_server::model::Market>(market);
  }
  void StartDesk(const std::string& page) {
    options_.page = page;
    desk_ = std::make_unique<desktop::Desk>(options_);
    window_ = std::make_unique<desktop::MainWindow>(*desk_);
    window_->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window_.get()));
    window_->activateWindow();
  }
  void Open(const std::string& page, const std::string& clock = kAfternoon) {
    StartServer(clock);
    ASSERT_NO_FATAL_FAILURE(StartDesk(page));
    ASSERT_TRUE(Await([this] { return IsSettled() && desk_->lists() != nullptr; })) << Unsettled();
  }

  /// Lets the viewer work until it is so, and looks every `pause` ms; false after a minute.
  static bool Await(const std::function<bool()>& reached, int pause = 5) {
    QElapsedTimer patience;
    patience.start();
    while (!reached()) {
      if (patience.elapsed() > 60'000) {
        return false;
      }
      QTest::qWait(pause);
    }
    return true;
  }

  [[nodiscard]] bool IsSettled() const { return Unsettled().empty(); }
  [[nodiscard]] std::string Unsettled() const {
    for (const desktop::Pane* const pane : desk_->panes()) {
      if (pane->seen() && !pane->IsSettled()) {
        return pane->id().toStdString() + " is still waiting";
      }
    }
    return {};
  }

  [[nodiscard]] desktop::ListPane& List(std::string_view name) const {
    return dynamic_cast<desktop::ListPane&>(*window_->page().Find(name));
  }
  /// The text of a cell, by the name of its column.
  static std::string Cell(desktop::ListPane& list, int row, std::string_view column) {
    const QAbstractItemModel& model = list.table();
    return model.data(model.index(row, list.table().ColumnOf(column)), Qt::DisplayRole)
        .toString()
        .toStdString();
  }
  /// All that the status bar says.
  [[nodiscard]] std::string StatusText() const {
    std::string text = window_->statusBar()->currentMessage().toStdString();
    for (const QLabel* const label : window_->statusBar()->findChildren<QLabel*>()) {
      text += " | " + label->text().toStdString() + " " + label->toolTip().toStdString();
    }
    return text;
  }
  [[nodiscard]] bool Says(const std::string& text) const {
    return StatusText().find(text) != std::string::npos;
  }
  /// What the pictures in a pane say of themselves to those who cannot see them.
  static std::string Described(const QWidget& pane) {
    QString text;
    for (const QWidget* const child : pane.findChildren<QWidget*>()) {
      text += child->accessibleDescription() + QLatin1Char('\n');
    }
    return text.toStdString();
  }

  [[nodiscard]] market_server::model::Instant Now() const {
    return static_cast<market_server::model::Instant>(server_->Now());
  }
  [[nodiscard]] market_server::model::Quote QuoteOf(const std::wstring& code) const {
    return market_->QuoteOf(*market_->Find(cli::Utf8(code)), Now());
  }
  /// Stocks that trade, the largest change first.
  [[nodiscard]] std::vector<market_server::model::Quote> ByChange() const {
    std::vector<market_server::model::Quote> quotes = market_->BoardAt(Now())->stocks;
    std::stable_sort(quotes.begin(), quotes.end(),
                     [](const auto& a, const auto& b) { return a.change > b.change; });
    return quotes;
  }
  /// Of stocks that trade.
  [[nodiscard]] std::vector<std::wstring> Codes(std::size_t count) const {
    std::vector<std::wstring> codes;
    for (const auto& quote : market_->BoardAt(Now())->stocks) {
      if (quote.last > 0 && codes.size() < count) {
        codes.push_back(common::s2ws(quote.security->code, common::kUtf8));
      }
    }
    return codes;
  }
  void Select(const std::string& code) {
    desk_->Select(cli::FindSecurity(*GetStockCommon(), code));
    ASSERT_TRUE(Await([&] { return IsSettled(); })) << Unsettled();
  }

  const cli::TemporaryDirectory directory_;
  market_server::Options server_options_;
  std::unique_ptr<market_server::Server> server_;
  std::unique_ptr<market_server::model::Market> market_;
  desktop::Options options_;
  std::unique_ptr<desktop::Desk> desk_;
  std::unique_ptr<desktop::MainWindow> window_;
};
