#include "cli/format/flow_rows.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "cli/format/chart_headings.h"
#include "cli/format/figures.h"

namespace cli {
namespace {

// Amounts below zero arrive wrapped around.
double Yuan(std::uint64_t amount) {
  return static_cast<double>(static_cast<std::int64_t>(amount));
}

Cell Net(std::uint64_t in, std::uint64_t out) {
  const double amount = Yuan(in - out);
  return {SignedShortAmount(amount), ToneOf(amount)};
}

}  // namespace

std::vector<Column> FlowColumns() {
  return {{"days", Align::kRight},     {"big in", Align::kRight},   {"big out", Align::kRight},
          {"big net", Align::kRight},  {"small in", Align::kRight}, {"small out", Align::kRight},
          {"small net", Align::kRight}};
}

std::vector<std::vector<Cell>> FlowRows(const StockInOutItem& flows) {
  std::vector<std::vector<Cell>> rows;
  for (const auto& [name, member] : kFlowPeriods) {
    const FlowAmounts& amounts = flows.*member;
    rows.push_back({{name + 1},
                    {ShortAmount(Yuan(amounts.big_in))},
                    {ShortAmount(Yuan(amounts.big_out))},
                    Net(amounts.big_in, amounts.big_out),
                    {ShortAmount(Yuan(amounts.small_in))},
                    {ShortAmount(Yuan(amounts.small_out))},
                    Net(amounts.small_in, amounts.small_out)});
  }
  return rows;
}

std::string NoFlowsText(const Security& security) {
  return "only stocks have flows; " + NameText(security) + " is not a stock";
}

bool HasFlows(const StockInOutItem& flows) {
  return std::any_of(std::begin(kFlowPeriods), std::end(kFlowPeriods),
                     [&](const FlowPeriod& period) { return flows.*period.second != FlowAmounts{}; });
}

}  // namespace cli
