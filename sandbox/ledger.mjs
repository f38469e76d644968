// The live ledger, the snapshots and the bank links as the backend reports them at this moment.

import { bulkLedger } from "./bulk.mjs";
import { arrival, ledgerAt, makeMovements, snapshotMoment, snapshotSummaries } from "./data.mjs";
import { dateText, dayOf } from "./days.mjs";

const linesASync = 1;
const linesARefresh = 3;

export class Ledger {
  #day;
  #scenario;
  #history;
  #arrived = [];
  #updates = 0;
  #summaries = null;
  #bulk = null;

  /** @param {string} asOf  the day that the sample data ends with, "2026-11-20" */
  constructor(asOf, scenario) {
    this.#day = dayOf(asOf);
    this.#scenario = scenario;
    this.#history = makeMovements(this.#day);
  }

  reset() {
    this.#arrived = [];
    this.#updates = 0;
    this.#bulk = null;
  }

  /** Brings new lines: the same ones in the same order after every start or reset. @returns {number} how many */
  update(source) {
    const count = source === "sync" ? linesASync : linesARefresh;
    for (let left = count; left > 0; left--) {
      this.#arrived.push(arrival(this.#arrived.length, this.#day, source));
    }
    this.#updates += 1;
    return count;
  }

  /** The body of the live ledger, as buffers. */
  body() {
    const { lines, ledgerWish } = this.#scenario;
    if (lines === undefined) {
      this.#bulk = null;
      return [Buffer.from(JSON.stringify(this.current()))];
    }
    const key = JSON.stringify([lines, ledgerWish, this.#updates]);
    if (this.#bulk?.key !== key) {
      this.#bulk = { key, chunks: bulkLedger(lines, this.#day, this.#moment(), ledgerWish) };
    }
    return this.#bulk.chunks;
  }

  /** The live ledger as a value, the same as `body()`. */
  current() {
    if (this.#scenario.lines !== undefined) {
      return JSON.parse(Buffer.concat(this.body()).toString("utf8"));
    }
    return ledgerAt(
      [...this.#history, ...this.#arrived],
      this.#day,
      this.#moment(),
      this.#scenario.ledgerWish,
    );
  }

  /** The summaries of the stored snapshots, newest first. */
  snapshots() {
    this.#summaries ??= snapshotSummaries(this.#history, this.#day);
    return this.#summaries.slice(0, this.#scenario.snapshots);
  }

  /** The ledger at the end of a day of which a snapshot is stored; undefined for any other text. */
  snapshot(date) {
    if (!this.snapshots().some((summary) => summary.snapshot_date === date)) {
      return undefined;
    }
    const day = dayOf(date);
    return ledgerAt(this.#history, day, snapshotMoment(day));
  }

  /** Each update is a minute later. */
  #moment() {
    const minutes = 16 * 60 + 5 + (this.#updates % 400);
    const clock = [Math.floor(minutes / 60), minutes % 60]
      .map((part) => String(part).padStart(2, "0"))
      .join(":");
    return `${dateText(this.#day)} ${clock} UTC`;
  }
}

/** The `items` of the status answer for a scenario's `link`. */
export function linkItems(link) {
  if (Array.isArray(link?.items)) {
    return link.items;
  }
  const states = [link].flat();
  const first = { ...healthyItem, item_id: "item-first-harbor", institution: "First Harbor Bank" };
  if (states.includes("outage")) {
    first.bank_outage = { areas: [{ area: "Transactions", status: "DEGRADED" }] };
    first.hint = "First Harbor Bank is having trouble with transactions. Balances may be late.";
  }
  if (states.includes("reconnect")) {
    first.needs_update = true;
    first.error_code = "ITEM_LOGIN_REQUIRED";
    first.error_message = "the login details of this account have changed";
  }
  if (states.includes("add-card")) {
    first.needs_add_credit = true;
    first.has_credit_account = false;
  }
  return [first, { ...healthyItem, item_id: "item-lakeside", institution: "Lakeside Credit Union" }];
}

const healthyItem = {
  error_code: null,
  error_message: null,
  needs_update: false,
  needs_add_credit: false,
  has_credit_account: true,
  bank_outage: null,
  hint: null,
};
