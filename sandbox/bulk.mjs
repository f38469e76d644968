// Ledgers of any length, for tests of speed and size: made line by line from a hash, never held as objects.

import { accountMask, holdLine, totalsOf } from "./data.mjs";
import { dateText } from "./days.mjs";
import { pickCents, pickShop } from "./merchants.mjs";
import { hash32, transactionId } from "./random.mjs";

const seed = 990017;
const longestSpanInDays = 7300;
const payAboveCents = 300_000;
const linesAChunk = 2000;

export const mostLines = 1_000_000;

/**
 * The body of a ledger of `count` lines, newest first, as a list of buffers.
 * @param {{ shortLines?: boolean, totalOwed?: number?, pending?: number | "none" | null }} wish
 *        shortLines: only the required members, so that a million lines stay under 64 MiB
 * @returns {Buffer[]}
 */
export function bulkLedger(count, lastDay, asOf, wish = {}) {
  const { cents, balances } = makeAmounts(count);
  const owed = count > 0 ? balances[count - 1] / 100 : 0;
  const totals = totalsOf(owed, 0, wish);
  const shift = Math.round((totals.total_owed - owed) * 100);
  const linesADay = Math.max(1, Math.ceil(count / longestSpanInDays));
  const write = wish.shortLines ? writeShort : writeFull;

  const head = { ...totals, as_of: asOf };
  const chunks = [Buffer.from(`${JSON.stringify(head).slice(0, -1)},"transactions":[`)];
  const hold = holdLine(dateText(lastDay), totals, wish).map((line) => JSON.stringify(line));
  let lines = hold;
  let date = "";
  for (let index = count - 1; index >= 0; index--) {
    const age = count - 1 - index;
    if (age % linesADay === 0) {
      date = dateText(lastDay - age / linesADay);
    }
    lines.push(write(index, date, cents[index] / 100, (balances[index] + shift) / 100));
    if (lines.length >= linesAChunk && index > 0) {
      chunks.push(Buffer.from(`${lines.join(",")},`));
      lines = [];
    }
  }
  chunks.push(Buffer.from(`${lines.join(",")}]}`));
  return chunks;
}

function makeAmounts(count) {
  const cents = new Int32Array(count);
  const balances = new Int32Array(count);
  let balance = 0;
  for (let index = 0; index < count; index++) {
    const paysOff = balance > payAboveCents;
    cents[index] = paysOff ? -balance : pickCents(shopOf(index), hash32(seed + 1, index) / 2 ** 32);
    balance += cents[index];
    balances[index] = balance;
  }
  return { cents, balances };
}

function shopOf(index) {
  return pickShop(hash32(seed, index) / 2 ** 32);
}

function writeShort(index, date, amount, balance) {
  return `{"date":"${date}","amount":${amount},"running_balance":${balance}}`;
}

const jsonTexts = new Map();

function jsonText(text) {
  let json = jsonTexts.get(text);
  if (json === undefined) {
    json = JSON.stringify(text);
    jsonTexts.set(text, json);
  }
  return json;
}

function writeFull(index, date, amount, balance) {
  const { merchant, name } =
    amount < 0 ? { merchant: null, name: "ONLINE PAYMENT - THANK YOU" } : shopOf(index);
  return (
    `{"txn_id":"${transactionId(seed, index)}","date":"${date}","amount":${amount},"merchant":${jsonText(merchant)},` +
    `"name":${jsonText(name)},"pending":0,"running_balance":${balance},"synthetic":false,` +
    `"account_mask":"${accountMask}","note":null}`
  );
}
