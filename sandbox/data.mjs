// The sample ledger: two years of one credit card, a function of its last day alone.

import { dateText, dayOfMonth, isWeekend } from "./days.mjs";
import { bills, pickCents, pickShop } from "./merchants.mjs";
import { stream, transactionId } from "./random.mjs";

const seed = 20240117;
const arrivalSeed = 77003;
const daysOfHistory = 730;
const openingCents = 41_250;
const paymentDay = 21;
const statementDay = 15;

export const creditLimit = 12_000;
export const accountMask = "4417";
export const snapshotCount = 90;

/** How many days back the one snapshot lies whose summary carries no totals: the bank gave no balance that day. */
export const snapshotWithoutTotals = 45;

/**
 * One movement on the card.
 * @typedef {object} Movement
 * @property {string?} id  null for a line that the backend worked out itself
 * @property {number} day  when it happened
 * @property {number} postedOn  from this day on it is posted; until then it is a pending hold
 * @property {number} cents  positive: owed more; negative: a payment or a refund
 * @property {string?} merchant
 * @property {string?} name
 * @property {string?} note
 * @property {boolean} synthetic
 */

/** @returns {Movement} */
function movement(fields) {
  return { id: null, merchant: null, name: null, note: null, synthetic: false, ...fields };
}

/** Everything on the card in the two years up to and including `lastDay`, oldest first. @returns {Movement[]} */
export function makeMovements(lastDay) {
  const random = stream(seed);
  const firstDay = lastDay - daysOfHistory + 1;
  const movements = [];
  const refunds = new Map();
  let balance = openingCents;
  let statement = openingCents;

  const add = (fields) => {
    movements.push(movement({ postedOn: fields.day, ...fields }));
    balance += fields.cents;
  };

  for (let day = firstDay; day <= lastDay; day++) {
    for (const bill of bills.filter((one) => one.dayOfMonth === dayOfMonth(day))) {
      add({ day, cents: pickCents(bill, random()), merchant: bill.merchant, name: bill.name });
    }
    for (let left = purchasesOn(day, random()); left > 0; left--) {
      const shop = pickShop(random());
      const cents = pickCents(shop, random());
      add({
        day,
        postedOn: day + 1 + Math.floor(random() * 3),
        cents,
        merchant: shop.merchant,
        name: shop.name,
      });
      if (random() < 0.04) {
        refunds.set(day + 5 + Math.floor(random() * 8), {
          cents: -cents,
          merchant: shop.merchant,
          name: shop.name,
        });
      }
    }
    if (refunds.has(day)) {
      add({ day, ...refunds.get(day), note: "Refund" });
    }
    if (dayOfMonth(day) === statementDay) {
      statement = balance;
    }
    if (dayOfMonth(day) === paymentDay && statement > 0) {
      add({ day, cents: -statement, name: "ONLINE PAYMENT - THANK YOU", note: "Payment from checking" });
    }
  }
  movements.push(...lastDays(lastDay));
  movements.sort((left, right) => left.day - right.day);
  movements.filter((one) => !one.synthetic).forEach((one, index) => (one.id = transactionId(seed, index)));
  return movements;
}

function purchasesOn(day, fraction) {
  const expected = isWeekend(day) ? 0.95 : 0.47;
  return fraction < expected * 0.72 ? (fraction < expected * 0.24 ? 2 : 1) : 0;
}

/** What a look at the newest lines should always find: holds, a line the bank has not listed, scripts, a long name. */
function lastDays(lastDay) {
  return [
    { day: lastDay - 4, cents: 1840, merchant: "喫茶 さくら 渋谷店", name: "KISSA SAKURA SHIBUYA" },
    {
      day: lastDay - 3,
      cents: 12500,
      merchant:
        "The Worshipful Company of Itinerant Clockmakers, Instrument Makers and Repairers of Timepieces",
      name: "WCICIMRTGS EXHIBITION",
    },
    { day: lastDay - 2, cents: 2350, name: "SQ *FARMERS MARKET STALL 12" },
    {
      day: lastDay - 1,
      postedOn: lastDay + 3,
      cents: 8600,
      merchant: "Harbourside Hotel",
      name: "HARBOURSIDE HOTEL HOLD",
    },
    {
      day: lastDay,
      postedOn: lastDay + 1,
      cents: 640,
      merchant: "Blue Door Coffee",
      name: "BLUE DOOR COFFEE",
    },
    {
      day: lastDay,
      cents: 6218,
      name: "CHARGE NOT YET LISTED BY THE BANK",
      note: "Worked out from the balance that the bank reports",
      synthetic: true,
    },
  ].map((fields) => movement({ postedOn: fields.day, ...fields }));
}

/**
 * What the `index`-th line to arrive after the start is, for a sync or a pull from the bank.
 * @param {"sync" | "refresh"} source  what brought it: a pull also finds holds that the cache does not know yet
 * @returns {Movement}
 */
export function arrival(index, lastDay, source) {
  const random = stream(arrivalSeed + index);
  const shop = pickShop(random());
  const isHold = source === "refresh" && index % 3 !== 0;
  return movement({
    id: transactionId(arrivalSeed, index),
    day: lastDay,
    postedOn: isHold ? lastDay + 2 : lastDay,
    cents: pickCents(shop, random()),
    merchant: shop.merchant,
    name: shop.name,
  });
}

/**
 * The ledger as the backend reports it at the end of `day`: totals, and the lines newest first, each with the balance
 * after it. Holds count in the running balance, so the first line's is the total with pending.
 * @param {Movement[]} movements  oldest first; those after `day` are left out
 * @param {{ totalOwed?: number?, pending?: number | "none" | null }} wish  see README.md, "Scenarios"
 */
export function ledgerAt(movements, day, asOf, wish = {}) {
  const replacesHolds = wish.pending != null;
  const listed = movements.filter((one) => one.day <= day && !(replacesHolds && one.postedOn > day));
  const owedCents = listed.reduce((sum, one) => (one.postedOn > day ? sum : sum + one.cents), openingCents);
  const heldCents = listed.reduce((sum, one) => (one.postedOn > day ? sum + one.cents : sum), 0);
  const totals = totalsOf(owedCents / 100, heldCents / 100, wish);
  const shift = totals.total_owed - owedCents / 100;

  let balance = openingCents;
  const lines = listed.map((one) => {
    balance += one.cents;
    return lineOf(one, day, tidy(balance / 100 + shift));
  });
  const hold = holdLine(dateText(day), totals, wish);
  return { ...totals, as_of: asOf, transactions: [...lines, ...hold].reverse() };
}

/** The five totals, with what a scenario wishes in place of what the lines add up to. */
export function totalsOf(owed, held, wish) {
  const totalOwed = wish.totalOwed ?? owed;
  const pendingHolds = wish.pending === "none" ? 0 : (wish.pending ?? held);
  const totalWithPending = tidy(totalOwed + pendingHolds);
  return {
    total_owed: totalOwed,
    pending_holds: pendingHolds,
    total_with_pending: totalWithPending,
    credit_limit: creditLimit,
    available: tidy(creditLimit - totalWithPending),
  };
}

/** The one line that stands for the holds a scenario wishes; none when it wishes none. */
export function holdLine(date, totals, wish) {
  if (typeof wish.pending !== "number" || wish.pending === 0) {
    return [];
  }
  return [
    {
      txn_id: transactionId(seed, -1),
      date,
      amount: wish.pending,
      merchant: "Harbourside Hotel",
      name: "HARBOURSIDE HOTEL HOLD",
      pending: 1,
      running_balance: totals.total_with_pending,
      synthetic: false,
      account_mask: accountMask,
      note: null,
    },
  ];
}

function lineOf(one, day, runningBalance) {
  const line = {
    txn_id: one.id,
    date: dateText(one.day),
    amount: one.cents / 100,
    merchant: one.merchant,
    name: one.name,
    pending: one.postedOn > day ? 1 : 0,
    running_balance: runningBalance,
    synthetic: one.synthetic,
    account_mask: accountMask,
    note: one.note,
  };
  if (one.synthetic) {
    delete line.txn_id;
  }
  return line;
}

/** Removes what binary fractions leave behind; wished amounts keep up to six decimals. */
function tidy(dollars) {
  return Math.round(dollars * 1e6) / 1e6;
}

/** The summaries of the daily snapshots before `lastDay`, newest first. */
export function snapshotSummaries(movements, lastDay) {
  return Array.from({ length: snapshotCount }, (_, index) => {
    const day = lastDay - 1 - index;
    const ledger = ledgerAt(movements, day, "");
    const hasTotals = index + 1 !== snapshotWithoutTotals;
    return {
      snapshot_date: dateText(day),
      created_at: snapshotMoment(day),
      total_owed: hasTotals ? ledger.total_owed : null,
      pending_holds: hasTotals ? ledger.pending_holds : null,
      total_with_pending: hasTotals ? ledger.total_with_pending : null,
      available: hasTotals ? ledger.available : null,
      txn_count: ledger.transactions.length,
    };
  });
}

export function snapshotMoment(day) {
  return `${dateText(day)} 23:59 UTC`;
}
