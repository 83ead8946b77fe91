// The chart as the page uses it: made by `new`, which its own description does not cover for one file.
declare const uPlot: any;
export default uPlot;
