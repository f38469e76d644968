import assert from "node:assert/strict";
import { createHash } from "node:crypto";
import { test } from "node:test";

import { bulkLedger } from "../bulk.mjs";
import { ledgerAt, makeMovements, snapshotSummaries, snapshotWithoutTotals } from "../data.mjs";
import { dateText, dayOf } from "../days.mjs";

const lastDay = dayOf("2026-11-20");
const movements = makeMovements(lastDay);
const ledger = ledgerAt(movements, lastDay, "now");
const lines = ledger.transactions;
const cents = (dollars) => Math.round(dollars * 100);

function bulk(count, wish) {
  return JSON.parse(Buffer.concat(bulkLedger(count, lastDay, "now", wish)).toString("utf8"));
}

test("the sample ledger is the same on every machine and in every run", () => {
  const digest = createHash("sha256").update(JSON.stringify(ledger)).digest("hex");
  assert.equal(digest, "54a4277b87bda8d961b0be19fe85b30cb4cf0e72386c18bdf4979f84f4dac5c6");
  assert.deepEqual(makeMovements(lastDay), movements);
});

test("it has about six hundred lines over two years, newest first", () => {
  assert.ok(lines.length > 550 && lines.length < 650, `${lines.length} lines`);
  const dates = lines.map((line) => line.date);
  assert.deepEqual(dates, [...dates].sort().reverse());
  assert.equal(dates[0], "2026-11-20");
  assert.ok(dayOf(dates[0]) - dayOf(dates.at(-1)) > 700);
});

test("every running balance is the one below it plus the line's amount", () => {
  for (let index = 0; index + 1 < lines.length; index++) {
    const expected = cents(lines[index + 1].running_balance) + cents(lines[index].amount);
    assert.equal(cents(lines[index].running_balance), expected, lines[index].date);
  }
});

test("the totals follow from the lines", () => {
  const held = lines.filter((line) => line.pending === 1).reduce((sum, line) => sum + cents(line.amount), 0);
  assert.equal(cents(ledger.pending_holds), held);
  assert.equal(cents(ledger.total_with_pending), cents(lines[0].running_balance));
  assert.equal(cents(ledger.total_owed), cents(ledger.total_with_pending) - held);
  assert.equal(cents(ledger.available), cents(ledger.credit_limit) - cents(ledger.total_with_pending));
});

test("no amount carries more than two decimals", () => {
  for (const line of lines) {
    assert.equal(line.amount, cents(line.amount) / 100);
    assert.equal(line.running_balance, cents(line.running_balance) / 100);
  }
});

test("it has every kind of line", () => {
  const some = (what, matches) => assert.ok(lines.some(matches), what);
  some("charge", (line) => line.amount > 0 && line.pending === 0);
  some("payment", (line) => line.amount < 0 && line.merchant === null);
  some("refund", (line) => line.amount < 0 && line.note === "Refund" && line.merchant);
  some("hold", (line) => line.pending === 1);
  some("no merchant but a name", (line) => line.merchant === null && line.name);
  some("long merchant", (line) => line.merchant?.length > 80);
  for (const script of ["Han", "Cyrillic", "Arabic", "Hebrew", "Hangul", "Thai", "Greek"]) {
    some(script, (line) => new RegExp(`\\p{Script=${script}}`, "u").test(line.merchant ?? ""));
  }
  const synthetic = lines.filter((line) => line.synthetic);
  assert.equal(synthetic.length, 1);
  assert.ok(!("txn_id" in synthetic[0]));
});

test("transaction ids are 37 characters and differ", () => {
  const ids = lines.filter((line) => !line.synthetic).map((line) => line.txn_id);
  assert.ok(ids.every((id) => /^[0-9a-z]{37}$/.test(id)));
  assert.equal(new Set(ids).size, ids.length);
});

test("ninety snapshots agree with the ledgers of their days", () => {
  const summaries = snapshotSummaries(movements, lastDay);
  assert.equal(summaries.length, 90);
  for (const [index, summary] of summaries.entries()) {
    assert.equal(summary.snapshot_date, dateText(lastDay - 1 - index));
    const day = ledgerAt(movements, dayOf(summary.snapshot_date), "then");
    assert.equal(summary.txn_count, day.transactions.length);
    assert.ok(day.transactions.every((line) => line.date <= summary.snapshot_date));
    const hasTotals = index + 1 !== snapshotWithoutTotals;
    for (const key of ["total_owed", "pending_holds", "total_with_pending", "available"]) {
      assert.equal(summary[key], hasTotals ? day[key] : null);
    }
  }
});

test("a line is posted in a later snapshot with the id and the amount it was held with", () => {
  const held = ledgerAt(movements, lastDay - 1, "then").transactions.filter((line) => line.pending === 1);
  const later = new Map(
    ledgerAt(movements, lastDay + 10, "then").transactions.map((line) => [line.txn_id, line]),
  );
  assert.ok(held.length > 0);
  for (const line of held) {
    assert.equal(later.get(line.txn_id).pending, 0);
    assert.equal(later.get(line.txn_id).amount, line.amount);
  }
});

test("another last day gives another ledger with the same rules", () => {
  const other = dayOf("2024-02-29");
  const value = ledgerAt(makeMovements(other), other, "now");
  assert.equal(value.transactions[0].date, "2024-02-29");
  assert.equal(cents(value.transactions[0].running_balance), cents(value.total_with_pending));
});

test("a text that is no calendar day is refused", () => {
  for (const text of ["2026-02-30", "2026-1-1", "yesterday", ""]) {
    assert.throws(() => dayOf(text), RangeError);
  }
});

test("a made-to-length ledger has that many lines, newest first, with balances that add up", () => {
  for (const count of [0, 1, 2, 2000, 2001, 30_000]) {
    const value = bulk(count);
    assert.equal(value.transactions.length, count);
    assert.equal(cents(value.total_owed), cents(value.transactions[0]?.running_balance ?? 0));
    for (let index = 0; index + 1 < count; index++) {
      const [line, below] = value.transactions.slice(index, index + 2);
      assert.equal(cents(line.running_balance), cents(below.running_balance) + cents(line.amount));
      assert.ok(line.date >= below.date);
    }
  }
});

test("a made-to-length ledger takes wished amounts too", () => {
  const value = bulk(100, { totalOwed: 1234.5, pending: 87.5 });
  assert.equal(value.transactions.length, 101);
  assert.equal(value.transactions[0].running_balance, 1322);
  assert.equal(value.transactions[1].running_balance, 1234.5);
  assert.equal(value.pending_holds, 87.5);
});

test("a million short lines stay under 64 MiB", () => {
  const chunks = bulkLedger(1_000_000, lastDay, "now", { shortLines: true });
  const size = chunks.reduce((sum, chunk) => sum + chunk.length, 0);
  assert.ok(size < 64 * 1024 * 1024, `${size} bytes`);
  assert.equal(JSON.parse(Buffer.concat(chunks).toString("utf8")).transactions.length, 1_000_000);
});
