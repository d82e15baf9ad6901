// The style of the page of HtmlReport.
//
// Threading: constant data.
#pragma once

namespace quillmark::explain {

inline constexpr char kHtmlStyle[] = R"css(
:root { --ink: #1b1f24; --soft: #5b636d; --line: #e1e4e8; --paper: #ffffff; --ground: #f6f7f8;
  --good: #1a7f4b; --bad: #b8322a; --mild: #8a6d1d; --region: #2563a8; }
* { box-sizing: border-box; }
body { margin: 0; background: var(--ground); color: var(--ink);
  font: 15px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif; }
main { max-width: 1120px; margin: 0 auto; padding: 40px 32px 64px; }
article + article { margin-top: 72px; }
header { border-bottom: 1px solid var(--line); padding-bottom: 22px; margin-bottom: 8px; }
.kicker { margin: 0 0 10px; color: var(--soft); }
h1 { margin: 0; font-size: 27px; line-height: 1.25; font-weight: 650; letter-spacing: -0.01em; }
.lead { margin: 8px 0 0; font-size: 18px; max-width: 52em; }
.hit { color: var(--good); } .rejected { color: var(--bad); }
.why { margin: 10px 0 0; color: var(--soft); max-width: 60em; }
h2 { margin: 40px 0 14px; font-size: 17px; font-weight: 650; }
h3 { margin: 22px 0 8px; font-size: 13px; font-weight: 600; color: var(--soft); }
code { font: 0.92em ui-monospace, "Cascadia Mono", Consolas, "DejaVu Sans Mono", monospace; }
.card { background: var(--paper); border: 1px solid var(--line); border-radius: 8px; padding: 18px; }
.pair { display: grid; grid-template-columns: repeat(auto-fit, minmax(380px, 1fr)); gap: 22px; }
figure { margin: 0; } figcaption { margin-top: 8px; color: var(--soft); font-size: 13px; }
svg.shot { display: block; width: 100%; height: auto; }
svg.shot image { image-rendering: auto; } svg.shot.large image { image-rendering: pixelated; }
svg.shot rect, svg.shot circle { fill: none; vector-effect: non-scaling-stroke; }
.halo { stroke: #fff; stroke-width: 4.5; stroke-opacity: 0.85; }
.client { stroke: #6b7280; stroke-width: 1.5; stroke-dasharray: 2 4; }
.region { stroke: var(--region); stroke-width: 2; }
.best { stroke-width: 2.5; } .best.ok { stroke: #16a05a; } .best.no { stroke: #d8382e; }
.next { stroke: #d99a16; stroke-width: 2; stroke-dasharray: 6 4; }
.keys { display: flex; flex-wrap: wrap; gap: 6px 22px; margin-top: 12px; color: var(--soft); font-size: 13px; }
.keys svg { width: 26px; height: 12px; margin-right: 7px; vertical-align: -1px; } .keys line { vector-effect: none; }
.scale { height: 10px; border-radius: 5px; margin-top: 10px;
  background: linear-gradient(90deg, #fde725, #7ad151, #22a884, #2a788e, #414487, #440154); }
.ends { display: flex; justify-content: space-between; color: var(--soft); font-size: 13px; margin-top: 4px; }
.card > h3:first-child { margin-top: 0; }
.tiles { display: flex; flex-wrap: wrap; gap: 20px; align-items: flex-start; }
.tiles img { display: block; image-rendering: pixelated; border: 1px solid var(--line); max-width: 100%; }
.tiles figcaption { max-width: 300px; }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
th { text-align: left; font-weight: 600; font-size: 13px; color: var(--soft); padding: 0 12px 8px 0;
  border-bottom: 1px solid var(--line); }
td { padding: 9px 12px 9px 0; border-bottom: 1px solid var(--line); vertical-align: top; }
tr:last-child td { border-bottom: 0; } td:last-child, th:last-child { padding-right: 0; }
.num { text-align: right; white-space: nowrap; }
td small { display: block; color: var(--soft); font-size: 12.5px; line-height: 1.4; }
td.step { min-width: 190px; } td.remark { color: var(--soft); font-size: 13px; min-width: 180px; }
tr.idle td { color: var(--soft); } tr.vetoed td.step b, tr.vetoed .figure { color: var(--bad); }
.word { white-space: nowrap; font-weight: 600; font-size: 13px; }
.word.pass { color: var(--good); } .word.veto { color: var(--bad); } .word.missed { color: var(--mild); }
.word.waived, .word.not-measured { color: var(--soft); font-weight: 400; }
.bar { width: 110px; height: 14px; display: block; margin-top: 4px; }
ul.changes { margin: 0; padding: 0; list-style: none; }
ul.changes li { padding: 9px 0; border-bottom: 1px solid var(--line); display: flex; gap: 16px; }
ul.changes li:last-child { border-bottom: 0; } ul.changes code { flex: 0 0 260px; font-weight: 600; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: 6px 22px; margin: 0; }
dt { color: var(--soft); } dd { margin: 0; overflow-wrap: anywhere; }
footer { margin-top: 40px; color: var(--soft); font-size: 13px; }
@media (max-width: 760px) { main { padding: 20px 14px; } .pair { grid-template-columns: 1fr; }
  ul.changes li { display: block; } .wide { overflow-x: auto; } }
@media print { body { background: #fff; } .card { break-inside: avoid; } main { padding: 0; } }
)css";

}  // namespace quillmark::explain
