// What the server tells, as docs/schema/snapshot.json and event.json describe it.

export interface Interface {
  mac: string;
  media_type?: string;
  band?: string;
  use: string;
}

export interface Neighbour {
  al_mac: string;
  medium?: string;
  signal?: number;
  rate?: number;
}

export interface Device {
  al_mac: string;
  local: boolean;
  name?: string;
  role?: string;
  address?: string;
  firmware?: string;
  parent?: string;
  hops?: number;
  medium?: string;
  signal?: number;
  rate?: number;
  interfaces: Interface[];
  neighbours: Neighbour[];
}

export interface Station {
  mac: string;
  device: string;
  name?: string;
  address?: string;
  interface?: string;
  interface_name?: string;
  band?: string;
  signal?: number;
  rate?: number;
  wired: boolean;
  random_mac: boolean;
}

export interface Missing {
  part: string;
  file: string;
  kind: string;
  reason: string;
}

export interface Heading {
  source: string;
  time: string;
  missing: Missing[];
}

export interface Whereabouts {
  device: string;
  device_name?: string;
  band?: string;
  signal?: number;
  wired: boolean;
}

export interface MeshEvent {
  number: number;
  event: string;
  time: string;
  station?: string;
  device?: string;
  name?: string;
  from?: Whereabouts;
  to?: Whereabouts;
  old?: string;
  new?: string;
}

// How many stations are at a device.
export interface Counts {
  all: number;
  low: number; // 2.4 GHz
  high: number; // 5 GHz
  wired: number;
  weak: number;
}

// One moment of a mesh, ready to be drawn.
export interface Mesh {
  heading: Heading;
  devices: Map<string, Device>;
  stations: Map<string, Station>;
  at: Map<string, Station[]>; // stations by AL MAC
  counts: Map<string, Counts>;
}

// What is remembered of a device, here or not.
export interface Known {
  number: number; // in the order of being first seen
  column: number;
  row: number;
  parent?: string;
  name?: string;
  gone?: number; // when it was missed first, in ms
}

export interface Route {
  view: "tree" | "neighbours" | "stations" | "picture" | "events" | "history";
  kind?: "device" | "station";
  mac?: string;
  query: URLSearchParams;
}
