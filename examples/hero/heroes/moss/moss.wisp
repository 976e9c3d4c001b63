; Moss, keeper of the locks.

@about
    title: "Moss"
    author: Ivo
    made: 2026-04-19
    revision: 0.7
    moods: calm, sly, weary
    tint: 88, 120, 72

@files
    commands: moss.beck
    states: ground.glow
    states: strikes.glow
    brain: brain.glow
    sounds: moss.peal
    sprites: moss.gleam

@body
    life: 140
    weight: 92
    size: 46, 80
    eyes: 8, 70.5
    facing: left
    box: -20, -78, 20, 0
    grip: 22.5, -50, 34.5, -38
    strides: 0.5, 1.0
