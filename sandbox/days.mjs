// Days are counted from 1970-01-01 in whole numbers, so that no time zone can shift one.

const millisecondsADay = 86_400_000;

/** The day number of "2025-11-20"; throws a RangeError when the text is no calendar day. */
export function dayOf(text) {
  const day = /^\d{4}-\d{2}-\d{2}$/.test(text) ? Date.parse(`${text}T00:00:00Z`) / millisecondsADay : NaN;
  if (!Number.isInteger(day) || dateText(day) !== text) {
    throw new RangeError(`not a calendar day: ${text}`);
  }
  return day;
}

export function dateText(day) {
  return new Date(day * millisecondsADay).toISOString().slice(0, 10);
}

export function dayOfMonth(day) {
  return new Date(day * millisecondsADay).getUTCDate();
}

export function isWeekend(day) {
  return [0, 6].includes(new Date(day * millisecondsADay).getUTCDay());
}
