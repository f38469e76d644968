// Who the sample card is used with. All of them are invented. Amounts are in cents.

/** Everyday purchases; `weight` is how often one is met beside the others. */
export const shops = [
  { merchant: "Corner Grocer", name: "CORNER GROCER 0142", from: 1180, to: 9640, weight: 16 },
  { merchant: "Blue Door Coffee", name: "BLUE DOOR COFFEE", from: 325, to: 1275, weight: 15 },
  { merchant: "City Transit", name: "CITY TRANSIT FARE", from: 275, to: 2750, weight: 10 },
  { merchant: "Green Leaf Pharmacy", name: "GREEN LEAF PHARMACY 7", from: 640, to: 5890, weight: 6 },
  { merchant: "Noodle Yard", name: "NOODLE YARD", from: 1450, to: 4820, weight: 8 },
  { merchant: "Paper & Ink", name: "PAPER AND INK BOOKS", from: 899, to: 6450, weight: 5 },
  { merchant: "Pine Hardware", name: "PINE HARDWARE CO", from: 1210, to: 18900, weight: 4 },
  { merchant: "Roadside Fuel", name: "ROADSIDE FUEL 2231", from: 2800, to: 7650, weight: 7 },
  { merchant: "Second Act Cinema", name: "SECOND ACT CINEMA", from: 1350, to: 5400, weight: 3 },
  { merchant: "Taquería El Sol 🌮", name: "TAQUERIA EL SOL", from: 1190, to: 4680, weight: 4 },
  { merchant: "喫茶 さくら 渋谷店", name: "KISSA SAKURA SHIBUYA", from: 780, to: 3260, weight: 2 },
  { merchant: "Кафе «Ёлка»", name: "KAFE YOLKA", from: 640, to: 2980, weight: 2 },
  { merchant: "مقهى النخيل", name: "MAQHA ALNAKHIL", from: 560, to: 2440, weight: 2 },
  { merchant: "חומוס הפינה", name: "HUMMUS HAPINA", from: 890, to: 3120, weight: 1 },
  { merchant: "서울 분식", name: "SEOUL BUNSIK", from: 980, to: 3890, weight: 2 },
  { merchant: "ร้านข้าวแกงป้าแดง", name: "PA DAENG KITCHEN", from: 640, to: 1980, weight: 1 },
  { merchant: "Καφενείο Ανατολή", name: "KAFENEIO ANATOLI", from: 480, to: 2160, weight: 1 },
  { merchant: null, name: "SQ *FARMERS MARKET STALL 12", from: 500, to: 4200, weight: 4 },
  { merchant: null, name: "CARD TERMINAL 88120 ONLINE", from: 990, to: 12900, weight: 2 },
  {
    merchant:
      "The Worshipful Company of Itinerant Clockmakers, Instrument Makers and Repairers of Timepieces " +
      "Great and Small, Annual Exhibition and Conference Registration Desk",
    name: "WCICIMRTGS EXHIBITION",
    from: 3500,
    to: 24500,
    weight: 1,
  },
];

/** Bills that come on the same day every month. */
export const bills = [
  { dayOfMonth: 1, merchant: "Northside Gym", name: "NORTHSIDE GYM MONTHLY", from: 3950, to: 3950 },
  { dayOfMonth: 5, merchant: "Lantern Video", name: "LANTERN VIDEO SUBSCRIPTION", from: 1299, to: 1299 },
  { dayOfMonth: 12, merchant: "Clearline Mobile", name: "CLEARLINE MOBILE", from: 4500, to: 4500 },
  { dayOfMonth: 18, merchant: "Valley Power & Light", name: "VALLEY POWER AND LIGHT", from: 7820, to: 14630 },
  { dayOfMonth: 24, merchant: "Oakridge Insurance", name: "OAKRIDGE INSURANCE AUTO", from: 10420, to: 10420 },
];

const totalWeight = shops.reduce((sum, shop) => sum + shop.weight, 0);

/** The shop that a number in [0, 1) stands for, each as often as its weight says. */
export function pickShop(fraction) {
  let left = fraction * totalWeight;
  return shops.find((shop) => (left -= shop.weight) < 0) ?? shops[0];
}

/** An amount in cents between a merchant's smallest and largest; small ones are more frequent. */
export function pickCents({ from, to }, fraction) {
  return from + Math.round((to - from) * fraction * fraction);
}
