#include "velmo_report/page_style.h"

namespace velmo_report {

const char kPageStyle[] = R"css(
:root {
  color-scheme: light dark;
  --ground: #f6f7f9; --card: #ffffff; --text: #1c2430; --quiet: #5d6878; --line: #dfe4ea;
  --inferred: #2563c9; --reused: #a9bcd8; --without: #d2453b; --mark: #b0531c; --swap: #7b3fc4; --good: #20794a;
}
@media (prefers-color-scheme: dark) {
  :root {
    --ground: #12161c; --card: #1b212a; --text: #e4e9f0; --quiet: #98a4b5; --line: #303947;
    --inferred: #6ea2ff; --reused: #46587a; --without: #ff7a6e; --mark: #f0a468; --swap: #c49bff; --good: #5fcf94;
  }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--ground); color: var(--text);
  font: 15px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif; }
main { max-width: 1140px; margin: 0 auto; padding: 32px 24px 64px; }
h1 { font-size: 26px; line-height: 1.25; margin: 0 0 4px; overflow-wrap: anywhere; }
h2 { font-size: 17px; margin: 0 0 4px; }
p { margin: 0 0 12px; }
.quiet { color: var(--quiet); }
.n { font-variant-numeric: tabular-nums; }
section { background: var(--card); border: 1px solid var(--line); border-radius: 10px; padding: 18px 22px 20px;
  margin-top: 18px; }
.state { display: inline-block; padding: 1px 10px; border-radius: 20px; border: 1px solid currentColor;
  font-size: 13px; font-weight: 600; vertical-align: 3px; margin-left: 8px; }
.complete { color: var(--good); } .interrupted { color: var(--mark); } .failed { color: var(--without); }
.reason { border-left: 4px solid var(--without); padding: 2px 0 2px 12px; white-space: pre-line;
  overflow-wrap: anywhere; }
.tiles { display: grid; grid-template-columns: repeat(auto-fit, minmax(150px, 1fr)); gap: 12px; margin-top: 18px; }
.tile { background: var(--card); border: 1px solid var(--line); border-radius: 10px; padding: 12px 16px; }
.tile b { display: block; font-size: 24px; font-weight: 600; line-height: 1.25; }
.tile small { color: var(--quiet); font-size: 13px; }
.sheet { display: grid; grid-template-columns: max-content repeat(var(--columns), minmax(0, 180px)); gap: 6px 8px;
  align-items: center; margin-top: 10px; }
.sheet img { display: block; width: 100%; height: auto; border-radius: 3px; border: 1px solid var(--line); }
.sheet span.name { color: var(--quiet); font-size: 13px; padding-right: 6px; }
.sheet .caption { font-size: 12.5px; line-height: 1.35; color: var(--quiet); text-align: center; }
.sheet .caption b { color: var(--text); font-weight: 600; }
.chart { display: block; width: 100%; height: auto; margin-top: 6px; }
.chart text { font-size: 12px; fill: var(--quiet); font-variant-numeric: tabular-nums; }
.chart .end { text-anchor: end; } .chart .middle { text-anchor: middle; }
.chart .grid { stroke: var(--line); stroke-width: 1; }
.chart .span { stroke-width: 1.6; stroke-opacity: .55; }
.chart line.inferred { stroke: var(--inferred); } .chart line.reused { stroke: var(--reused); }
.chart .dot.inferred, .chart .strip.inferred { fill: var(--inferred); }
.chart .dot.reused, .chart .strip.reused { fill: var(--reused); }
.chart .strip.without, .chart .beyond { fill: var(--without); }
.chart .bar { fill: var(--inferred); fill-opacity: .8; }
.chart .mark { stroke: var(--mark); stroke-width: 1.4; stroke-dasharray: 4 3; }
.chart .marktext { fill: var(--mark); font-weight: 600; }
.chart .swap { stroke: var(--swap); stroke-width: 1.6; } .chart .swaptext { fill: var(--swap); font-weight: 600; }
.chart .asked { stroke: var(--swap); stroke-width: 1.4; stroke-dasharray: 2 4; }
.key { display: flex; flex-wrap: wrap; gap: 4px 18px; font-size: 13px; color: var(--quiet); margin-top: 4px; }
.key i { display: inline-block; width: 12px; height: 12px; border-radius: 3px; margin-right: 6px; vertical-align: -1px; }
.wide { overflow-x: auto; }
table { border-collapse: collapse; width: 100%; font-size: 14px; margin-top: 8px; }
th { text-align: left; font-weight: 600; color: var(--quiet); font-size: 13px; }
th, td { padding: 4px 14px 4px 0; border-bottom: 1px solid var(--line); vertical-align: top; }
tr:last-child td { border-bottom: 0; }
td.r, th.r { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
td.text { overflow-wrap: anywhere; }
.metrics th.c { text-align: center; border-bottom-color: transparent; }
.metrics .first { padding-left: 34px; }
.metrics td, .metrics th { padding-right: 10px; }
.pair { display: grid; grid-template-columns: 1fr 1fr; gap: 18px; align-items: start; } .pair section { min-width: 0; }
.pair td:first-child { color: var(--quiet); width: 38%; }
details { margin-top: 10px; } summary { cursor: pointer; color: var(--quiet); font-size: 14px; }
pre { font: 12px/1.5 ui-monospace, "DejaVu Sans Mono", Consolas, monospace; margin: 8px 0 0; white-space: pre-wrap;
  overflow-wrap: anywhere; }
footer { margin-top: 20px; font-size: 13px; color: var(--quiet); }
@media (max-width: 760px) { .pair { grid-template-columns: 1fr; gap: 0; } main { padding: 20px 12px 40px; } }
@media print { section, .tile { break-inside: avoid; } }
)css";

}  // namespace velmo_report
