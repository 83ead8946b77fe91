// All English words of the page; another language is another file with the same names.

/** @param {number} count @param {string} one @param {string} [many] */
const counted = (count, one, many) => `${count} ${count === 1 ? one : (many ?? one + "s")}`;

/** @param {number} seconds */
const span = (seconds) => {
  const whole = Math.max(0, Math.round(seconds));
  if (whole < 120) return `${whole} s`;
  if (whole < 7200) return `${Math.round(whole / 60)} min`;
  return whole < 172800 ? `${Math.round(whole / 3600)} h` : `${Math.round(whole / 86400)} days`;
};

export const texts = {
  title: "Mesh",
  views: {
    tree: "Tree",
    neighbours: "Neighbours",
    stations: "Stations",
    picture: "Picture",
    events: "Events",
    history: "History",
  },
  skip: "To the content",
  search: "Name, MAC or address",
  searchHelp: "Search a device or a station; Enter goes to the first",
  nothingFound: "Nothing goes by that",
  /** @param {number} count */
  moreFound: (count) => `and ${count} more`,
  loading: "Asking the gateway…",
  empty: "No device is known yet.",

  devices: (/** @type {number} */ n) => counted(n, "device"),
  stations: (/** @type {number} */ n) => counted(n, "station"),
  wired: (/** @type {number} */ n) => `${n} wired`,
  weak: (/** @type {number} */ n) => `${n} weak`,
  weakStations: (/** @type {number} */ n) => counted(n, "weak station"),
  goneCount: (/** @type {number} */ n) => `${counted(n, "device")} gone`,
  weakLinks: (/** @type {number} */ n) => counted(n, "weak link"),
  unreachable: (/** @type {number} */ n) => `${counted(n, "device")} without a known way`,
  allWell: "all links are well",

  written: (/** @type {number} */ seconds) => `written ${span(seconds)} ago`,
  old: "old",
  saved: (/** @type {string} */ when) => `saved: ${when}`,
  serverGone: (/** @type {string} */ when) =>
    `The server does not answer. This is the picture of ${when}; asking again…`,
  modelGone: (/** @type {string} */ reason, /** @type {string} */ when) =>
    `Nothing new comes: ${reason}. This is the picture of ${when}.`,
  /** What lacks without a file. */
  lacks: /** @type {Record<string, string>} */ ({
    dump: "without it the stations of the device that wrote the model are missing",
    leases: "without it names and addresses of stations are missing",
    list: "without it the names of interfaces are missing",
    model: "without it most is missing",
  }),

  role: /** @type {Record<string, string>} */ ({ controller: "controller", agent: "agent" }),
  writes: "writes the files",
  noWay: "no way to the gateway is known",
  gone: (/** @type {string} */ when) => `gone since ${when}`,
  goneEarlier: "gone",
  dismiss: "Dismiss",
  dbm: (/** @type {number} */ value) => `${value} dBm`.replace("-", "−"),
  rate: (/** @type {number} */ value) => `${value} Mbit/s`,
  weakMark: "weak",
  unknown: "unknown",
  random: "random MAC",
  wiredBand: "wired",

  close: "Close",
  zoomIn: "Larger",
  zoomOut: "Smaller",
  fit: "Fit",
  saveSvg: "Save SVG",
  savePng: "Save PNG",
  treeLabel: "Devices of the mesh, from the gateway outwards; arrow keys lead along the links",
  neighboursLabel: "Devices of the mesh and who hears whom",
  pictureLabel: "All stations at their devices; the Stations view has the same as a table",
  tooMany: (/** @type {number} */ n) => `${n} more devices are not drawn; the search finds them`,
  pictureHint: "Point at a mark to see whose it is",
  legend: { good: "strong", fair: "fair", bad: "weak", wired: "wired", none: "no signal known" },

  facts: {
    mac: "MAC",
    alMac: "AL MAC",
    role: "Role",
    address: "Address",
    firmware: "Firmware",
    link: "Link",
    parent: "Linked to",
    hops: "Hops to the gateway",
    device: "At",
    interface: "Interface",
    band: "Band",
    signal: "Signal",
    rate: "PHY rate",
    name: "Name",
  },
  interfaces: "Interfaces",
  interfaceUse: /** @type {Record<string, string>} */ ({
    bss: "serves stations",
    uplink: "link to the gateway",
    other: "",
  }),
  stationsHere: "Stations",
  noStations: "No stations.",
  allStations: (/** @type {number} */ n) => `All ${n} as a table`,
  neighbours: "Neighbours",
  noNeighbours: "Nobody tells of hearing anybody beside the links of the tree.",
  path: "Way to the gateway",
  noStation: "This station is not connected.",
  noDevice: "This device is not known.",

  filter: "Only with this in it",
  allBands: "All bands",
  allDevices: "All devices",
  allEvents: "All events",
  deviceEvents: "Of devices",
  stationEvents: "Of stations",
  onlyWeak: "Only weak ones",
  shown: (/** @type {number} */ n, /** @type {number} */ all) =>
    n === all ? `${all} connected, by cable included` : `${n} of ${all} connected`,
  sortBy: (/** @type {string} */ column) => `Sort by ${column}`,

  span,
  time: "Time",
  wholeMesh: "The whole mesh",
  historyHere: "Its history",
  historyGone: "The server does not answer.",
  historySaved: "A saved page has one moment, and no past.",
  historyHow: "qo1905 record --db FILE remembers what happens, and qo1905 serve --db FILE shows it here.",
  nothingThen: "Nothing was measured in this time.",
  howLong: "How long",
  earlier: "Earlier",
  later: "Later",
  slide: "Slide, or click into the curve, to see the mesh as it was",
  past: "The past:",
  toNow: "back to now",
  stillThere: "until now",
  stationsThen: "Its stations then",
  sessions: (/** @type {number} */ n) => counted(n, "session"),
  sessionColumns: ["Since", "Lasted", "At", "Came by", "First", "Last"],
  came: /** @type {Record<string, string>} */ ({
    start: "was there",
    join: "joining",
    roam: "roaming",
    back: "bouncing back",
    moved: "another interface",
  }),
  roamers: "Who roamed most",
  roamerColumns: ["Station", "Roams", "Back within a minute"],
  sticky: "Who stuck to a device that hears it badly",
  stickyColumns: ["Station", "At", "In all", "Mean", "Heard best at"],
  gaps: "When nothing was recorded",
  gapColumns: ["Since", "Lasted", "Cause"],
  lines: { devices: "devices", weak: "weak stations" },
  curveOf: (/** @type {string} */ title, /** @type {number[]} */ signals) =>
    `Signal and rate of ${title}` +
    (signals.length === 0 ? "" : `, from ${Math.min(...signals)} to ${Math.max(...signals)} dBm`) +
    "; the sessions below say the same",
  countsOf: (/** @type {string} */ title, /** @type {any} */ last) =>
    `Devices and stations of ${title}; ${last ? `at last ${last.devices} devices, ${last.on_5ghz} stations on 5 GHz, ${last.on_2_4ghz} on 2.4 GHz, ${last.wired} wired` : ""}`,

  eventsEmpty: "Nothing has happened since this server started.",
  eventsGap: "Older ones are not kept.",
  eventsSaved: "A saved page has one moment, and no events.",
  event:
    /** @type {Record<string, (e: import("./types").MeshEvent, place: (p?: import("./types").Whereabouts) => string, device: (mac?: string) => string) => string>} */ ({
      join: (e, place) => `joined at ${place(e.to)}`,
      leave: (e, place) => `left ${place(e.from)}`,
      roam: (e, place) => `roamed from ${place(e.from)} to ${place(e.to)}`,
      up: () => "is up",
      down: () => "is down",
      parent: (e, _, device) => `is linked to ${device(e.new)}, was ${device(e.old)}`,
      medium: (e) => `is linked over ${e.new}, was ${e.old}`,
      role: (e) => `has the role ${e.new}, was ${e.old}`,
      firmware: (e) => `has the firmware ${e.new}, was ${e.old}`,
      name: (e) => `has the name ${e.new}, was ${e.old}`,
      address: (e) => `has the address ${e.new}, was ${e.old}`,
    }),
};
