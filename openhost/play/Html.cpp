#include "openhost/play/Html.h"

#include "openhost/text/OneLine.h"

namespace openhost {

std::string Escaped(std::string_view text)
{
    std::string result;
    for (const char unit : Printable(text)) {
        switch (unit) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\'':
            result += "&#39;";
            break;
        default:
            result += unit;
        }
    }
    return result;
}

std::string Element(const std::string& tag, const std::string& name, std::string_view text)
{
    return "<" + tag + (name.empty() ? "" : " class=\"" + name + "\"") + ">" + Escaped(text) + "</" + tag + ">";
}

std::string Base64(std::string_view bytes)
{
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string result;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const auto byte = [&](std::size_t j) {
            return i + j < bytes.size() ? static_cast<unsigned char>(bytes[i + j]) : 0U;
        };
        const unsigned int group = byte(0) << 16 | byte(1) << 8 | byte(2);
        result += digits[group >> 18];
        result += digits[group >> 12 & 63];
        result += i + 1 < bytes.size() ? digits[group >> 6 & 63] : '=';
        result += i + 2 < bytes.size() ? digits[group & 63] : '=';
    }
    return result;
}

const char* const ReportStyle = R"css(
:root { color-scheme: light dark; --ink: #1b2227; --dim: #5c6972; --paper: #fff; --area: #f3f5f7; --line: #d8dee2;
  --done: #17703a; --failed: #b3261c; --bar: #3877b5; }
@media (prefers-color-scheme: dark) {
  :root { --ink: #e4e9ec; --dim: #9aa7b0; --paper: #12171b; --area: #1b2228; --line: #323c44; --done: #55c583;
    --failed: #ff867b; --bar: #5f9fdc; }
}
* { box-sizing: border-box; }
[hidden] { display: none !important; }
body { margin: 0 auto; max-width: 68rem; padding: 2rem 1.5rem 4rem; background: var(--paper); color: var(--ink);
  font: 15px/1.5 system-ui, "Segoe UI", "Liberation Sans", Arial, sans-serif; }
h1 { margin: 0; font-size: 1.8rem; overflow-wrap: anywhere; }
h2 { margin: 2.5rem 0 .75rem; padding-bottom: .25rem; border-bottom: 1px solid var(--line); font-size: 1.2rem; }
h3 { margin: 1.25rem 0 .5rem; font-size: 1rem; overflow-wrap: anywhere; }
p { margin: .25rem 0; }
a { color: var(--bar); }
.dim, time, figcaption, .detail { color: var(--dim); }
.done, .result { color: var(--done); }
.failed, .failure { color: var(--failed); }
.outcome { font-size: 1.1rem; font-weight: 600; overflow-wrap: anywhere; white-space: pre-wrap; }
nav { margin-top: .75rem; display: flex; flex-wrap: wrap; gap: .25rem 1.25rem; }
pre, code, .address { font: 12.5px/1.45 ui-monospace, "DejaVu Sans Mono", Consolas, monospace; }
pre { margin: 0; padding: .75rem; overflow-x: auto; background: var(--area); border-radius: 4px; }
.address { overflow-wrap: anywhere; }
table { width: 100%; border-collapse: collapse; }
th { text-align: left; font-weight: 600; color: var(--dim); }
th, td { padding: .3rem .75rem .3rem 0; border-bottom: 1px solid var(--line); vertical-align: top; }
.number { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums; }
.text { white-space: pre-wrap; overflow-wrap: anywhere; }
ol, ul { list-style: none; margin: 0; padding: 0; }
.steps > li { padding: .5rem 0; border-bottom: 1px solid var(--line); }
.steps .head { display: grid; grid-template-columns: 2rem 7rem 1fr 5rem; gap: .5rem; align-items: center; }
.steps .head time { text-align: right; font-variant-numeric: tabular-nums; }
.steps b { color: var(--dim); }
.track { height: 6px; background: var(--area); border-radius: 3px; position: relative; }
.track i { position: absolute; top: 0; height: 6px; min-width: 3px; background: var(--bar); border-radius: 3px; }
.steps ul { margin: .25rem 0 0 2.5rem; }
.steps ul li { white-space: pre-wrap; overflow-wrap: anywhere; }
.steps .detail, .steps .result, .steps .failure { padding-left: 1.25rem; }
.pictures { display: grid; grid-template-columns: repeat(auto-fit, minmax(16rem, 1fr)); gap: 1rem; margin-bottom: 1rem; }
figure { margin: 0; max-width: 34rem; }
img { display: block; width: 100%; background: #fff; border: 1px solid var(--line); border-radius: 4px; }
.pair { display: grid; grid-template-columns: 1fr 1fr; gap: 1rem; }
.pair > div { min-width: 0; }
#filter { width: 100%; margin-bottom: .5rem; padding: .4rem .6rem; font: inherit; color: inherit;
  background: var(--paper); border: 1px solid var(--line); border-radius: 4px; }
#lines { max-height: 32rem; overflow: auto; background: var(--area); border-radius: 4px; padding: .5rem; }
#lines li { display: grid; grid-template-columns: 4.5rem 1fr; }
#lines code { overflow-wrap: anywhere; white-space: pre-wrap; }
#lines time { font: 12.5px/1.45 ui-monospace, "DejaVu Sans Mono", Consolas, monospace; }
@media (max-width: 45rem) {
  .pair { grid-template-columns: 1fr; }
  .steps .head { grid-template-columns: 2rem 1fr auto; }
  .track { grid-column: 1 / -1; grid-row: 2; }
}
@media print {
  :root { color-scheme: light; --ink: #000; --dim: #444; --paper: #fff; --area: #fff; --line: #bbb; --done: #0b5a2a;
    --failed: #a01810; --bar: #333; }
  @page { margin: 18mm 15mm; }
  body { max-width: none; padding: 0; font-size: 10pt; }
  nav, #filter, #count { display: none !important; }
  h2, h3 { break-after: avoid; }
  .steps > li, tr, figure { break-inside: avoid; }
  .track { border: 1px solid var(--line); }
  .track i { print-color-adjust: exact; -webkit-print-color-adjust: exact; }
  pre { padding: 0; white-space: pre-wrap; overflow: visible; font-size: 8pt; }
  .pictures { grid-template-columns: 1fr 1fr; }
  #journal { break-before: page; }
  #lines { max-height: none; overflow: visible; padding: 0; }
  #lines li, #lines li[hidden] { display: grid !important; break-inside: avoid; }
  #lines code, #lines time { font-size: 7.5pt; }
}
)css";

const char* const ReportScript = R"js(
const filter = document.getElementById("filter");
const count = document.getElementById("count");
const lines = [...document.querySelectorAll("#lines li")];
filter.hidden = false;
filter.addEventListener("input", () => {
  const words = filter.value.toLowerCase().split(/\s+/);
  let shown = 0;
  for (const line of lines) {
    const text = line.textContent.toLowerCase();
    line.hidden = !words.every(word => text.includes(word));
    shown += line.hidden ? 0 : 1;
  }
  count.textContent = `${shown} of ${lines.length} lines`;
});
)js";

} // namespace openhost
