// One example for each service of the module, one page for each folder of src/. Each of them attaches a view,
// says what it shows, gets one record, prints one line of it and detaches; those with a call-back ask once.
// Each returns false when nothing came. They run on the main thread, one after the other; docs/use.md quotes
// them.
#pragma once

// quotes.cpp
bool ShowIndexQuotes();
bool ShowBoard();
bool ShowNamesOfABoard();
bool ShowSingleQuote();
bool ShowWatchList();
bool ShowPlates();
bool ShowPlateMembers();
bool ShowCurrentStock();

// ranking.cpp
bool ShowStockRanking();
bool ShowPlateRanking();

// charts.cpp
bool ShowMinuteLine();
bool ShowPastMinuteLines();
bool ShowCandles();
bool ShowMonths();

// analytics.cpp
bool ShowUnusualEvents();
bool ShowPastEvents();
bool ShowFlows();
bool ShowStrength();
bool ShowDistribution();
bool ShowMoneyEffect();
bool ShowMarginTrading();
bool ShowNewShares();

// reference.cpp
bool ShowReferenceData();
bool ShowMarketState();
