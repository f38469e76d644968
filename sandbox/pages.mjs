// The web pages of the sandbox. Plain HTML and one style sheet, nothing fetched from anywhere.

import { createHash } from "node:crypto";

const style = `
:root { color-scheme: light dark; --ink: #1d2433; --faint: #5c667a; --paper: #f4f5f8; --card: #fff; --line: #d9dde6;
  --accent: #2256c9; --bad: #b3261e; }
@media (prefers-color-scheme: dark) { :root { --ink: #e8ebf2; --faint: #a3adc2; --paper: #14171e; --card: #1e232d;
  --line: #363d4c; --accent: #8fb1ff; --bad: #ffb4ab; } }
* { box-sizing: border-box; }
body { margin: 0; padding: 3rem 1rem; background: var(--paper); color: var(--ink);
  font: 16px/1.5 system-ui, sans-serif; }
main { max-width: 26rem; margin: 0 auto; padding: 2rem; background: var(--card); border: 1px solid var(--line);
  border-radius: 12px; }
main.wide { max-width: 60rem; }
h1 { margin: 0 0 .25rem; font-size: 1.4rem; }
p { margin: .5rem 0 1rem; }
.faint { color: var(--faint); }
.bad { color: var(--bad); }
label { display: block; margin: 1rem 0 .25rem; font-weight: 600; }
input { width: 100%; padding: .6rem .7rem; font: inherit; color: inherit; background: transparent;
  border: 1px solid var(--faint); border-radius: 8px; }
.buttons { display: flex; gap: .75rem; margin-top: 1.5rem; flex-wrap: wrap; }
button { padding: .6rem 1.2rem; font: inherit; font-weight: 600; border-radius: 8px; cursor: pointer;
  border: 1px solid var(--accent); background: transparent; color: var(--accent); }
button.main { background: var(--accent); color: var(--card); }
:focus-visible { outline: 3px solid var(--accent); outline-offset: 2px; }
table { width: 100%; border-collapse: collapse; margin-top: 1rem; }
th, td { padding: .4rem .5rem; text-align: left; border-bottom: 1px solid var(--line); }
td:first-child { white-space: nowrap; }
th.amount, td.amount { text-align: right; font-variant-numeric: tabular-nums; }
`;
const styleHash = createHash("sha256").update(style).digest("base64");

/** The policy a page is served with: its own style sheet, forms to `formTargets` and nothing else. */
export function contentPolicy(formTargets = ["'self'"]) {
  return (
    `default-src 'none'; style-src 'sha256-${styleHash}'; form-action ${formTargets.join(" ")}; ` +
    "base-uri 'none'; frame-ancestors 'none'"
  );
}

export function escapeHtml(text) {
  const entities = { "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;", "'": "&#39;" };
  return String(text).replace(/[&<>"']/g, (character) => entities[character]);
}

function page(title, body, mainClass = "") {
  return `<!doctype html>
<html lang="en">
<head><meta charset="utf-8"><meta name="viewport" content="width=device-width, initial-scale=1">
<title>${escapeHtml(title)}</title><style>${style}</style></head>
<body><main class="${mainClass}">
${body}
</main></body>
</html>
`;
}

/** @param {{ login?: string, problem?: string }} state  what was typed before, and why it was refused */
export function loginPage({ login = "", problem = "" } = {}) {
  const alert = problem ? `<p class="bad" role="alert" id="problem">${escapeHtml(problem)}</p>` : "";
  const described = problem ? ' aria-describedby="problem" aria-invalid="true"' : "";
  return page(
    "Sign in to Quillo",
    `<h1>Sign in to Quillo</h1>
<p class="faint">Local sandbox with made-up data</p>
${alert}
<form method="post" autocomplete="on">
<label for="login">E-mail</label>
<input id="login" name="login" type="email" autocomplete="username" required value="${escapeHtml(login)}"${described}
 ${login ? "" : "autofocus"}>
<label for="password">Password</label>
<input id="password" name="password" type="password" autocomplete="current-password" required${described}
 ${login ? "autofocus" : ""}>
<div class="buttons">
<button class="main" type="submit" name="action" value="sign-in">Sign in</button>
<button type="submit" name="action" value="cancel" formnovalidate>Cancel</button>
</div>
</form>`,
  );
}

export function problemPage(title, text) {
  return page(title, `<h1>${escapeHtml(title)}</h1>\n<p>${escapeHtml(text)}</p>`);
}

/** @param {{ institution?: string, problem: string? }[]} links  each bank link and what is wrong with it, if anything */
export function linkPage(links) {
  const rows = links
    .map(
      (link) =>
        `<li><strong>${escapeHtml(link.institution ?? "A bank")}</strong>: ` +
        `${escapeHtml(link.problem ?? "connected")}</li>`,
    )
    .join("\n");
  return page(
    "Link a bank",
    `<h1>Link a bank</h1>
<p class="faint">Local sandbox: no bank is asked anything</p>
<ul>
${rows}
</ul>
<form method="post"><div class="buttons"><button class="main" type="submit">Reconnect everything</button></div></form>`,
  );
}

/** @param {object} ledger  the body of GET /api/timeline */
export function ledgerPage(ledger) {
  const money = (amount) => `${amount < 0 ? "−" : ""}$${Math.abs(amount).toFixed(2)}`;
  const rows = ledger.transactions
    .slice(0, 100)
    .map(
      (line) =>
        `<tr><td>${escapeHtml(line.date)}</td>` +
        `<td>${escapeHtml(line.merchant ?? line.name ?? "charge")}${line.pending ? " (pending)" : ""}</td>` +
        `<td class="amount">${money(line.amount)}</td><td class="amount">${money(line.running_balance)}</td></tr>`,
    );
  return page(
    "Ledger",
    `<h1>Ledger</h1>
<p>Owed ${money(ledger.total_owed)}, pending ${money(ledger.pending_holds)}, available ${money(ledger.available)};
as of ${escapeHtml(ledger.as_of)}.</p>
<table><thead><tr><th scope="col">Date</th><th scope="col">Merchant</th><th scope="col" class="amount">Amount</th>
<th scope="col" class="amount">Balance</th></tr></thead>
<tbody>
${rows.join("\n")}
</tbody></table>
<p class="faint">${rows.length} of ${ledger.transactions.length} lines</p>`,
    "wide",
  );
}

export function helpPage() {
  return page(
    "Help",
    `<h1>Quillo help</h1>
<p>This is the help page of the local sandbox. A real installation opens its own help desk here.</p>
<p>“Pull updates” and “Pull fresh from bank” bring new lines into the sample ledger. “Reconnect bank…” opens a page
whose button mends every bank link.</p>`,
  );
}
